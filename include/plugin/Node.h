#pragma once

#include "Value/ValueMap.h"
#include "Value/ValuePointer.h"
#include "Value/ValueVector.h"
#include "plugin/PluginObject.h"

#include <memory>
#include <vector>

namespace QUOR {

/// Base class of all nodes: parameters, stack inputs and outputs, and the data that a node reports to its host.
///
/// A host makes a node, places its parameters with `Init` or through `Parameters()`, calls `NodeInit`, puts input
/// values on the stack and calls `Run`. One object is used by one thread at a time.
class VESSA_API CPNode : public IPluginObject, public IVectorizable {
public:
    enum class EnObjType : int { Node = 0 };

    CPNode();
    CPNode(const CPNode&) = delete;
    CPNode& operator=(const CPNode&) = delete;
    ~CPNode() override;

    /// Puts a copy of every entry of `parameters` into `Parameters()`; null does nothing.
    void Init(const CValueMap* parameters) override;
    /// True for "CPNode" and its bases.
    bool TestInterface(const CString& name) override;
    /// Copies parameters into the node's fields. Called after the parameters are placed and before `Run`.
    virtual void NodeInit();
    /// The parameter `debug_level`, 0 by default: data of a higher level is dropped by `AddDebugData`.
    virtual int DebugLevel();
    virtual const CValueMap& Parameters() const;
    virtual CValueMap& Parameters();
    virtual EnObjType Type() const;
    /// Takes the stack inputs, computes, and sets the stack outputs. Raises a `CException` on failure; no output has
    /// been set then.
    virtual void Run() = 0;
    /// Keeps a copy of `data` under `name` if `level` is at most the debug level.
    virtual void AddDebugData(int level, const CValue& data, const char* name);
    /// Keeps `data` under `name`: the value itself if `takeOwnership`, also on failure, else a copy. Null removes what
    /// is kept there.
    virtual void AddResultData(CValue* data, bool takeOwnership, const char* name);

    /// The parameters, as a vector with a single map.
    CValueVector* Vectorize() const override;
    void Devectorize(const CValueVector* state) override;

    /// @name The node's side of the stack
    /// @{

    /// The value on an input slot, still the host's. For an empty slot: null, or a `CException` if `required`.
    CValue* GetStackInput(int index, bool required);
    bool HasStackInput(Long index) const;
    /// Leaves `value` as an output, which the host owns from then on; an earlier value there is freed. Raises a
    /// `CException` for an index below 0.
    void SetStackOutput(int index, CValue* value);
    /// @}

    /// @name The host's side of the stack
    /// @{

    /// Puts a value on an input slot. It stays the caller's and must live until `Run` returns. Null empties the slot.
    /// Raises a `CException` for an index below 0.
    void SetStackInput(int index, CValue* value);
    /// The value of an output, still the node's; null if there is none.
    CValue* StackOutput(int index) const;
    /// Hands an output over to the caller; null if there is none.
    std::unique_ptr<CValue> TakeStackOutput(int index);
    /// Forgets the inputs, frees the outputs and the reported data.
    void ClearStack();
    /// @}

    /// What the node has reported since the stack was last cleared.
    const CValueMap& DebugData() const { return m_debugData; }
    const CValueMap& ResultData() const { return m_resultData; }

private:
    virtual void DeleteData();

    CValueMap m_parameters;
    std::vector<CValue*> m_inputs;
    std::vector<std::unique_ptr<CValue>> m_outputs;
    CValueMap m_debugData;
    CValueMap m_resultData;
};

} // namespace QUOR

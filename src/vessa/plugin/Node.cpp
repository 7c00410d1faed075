#include "plugin/Node.h"

#include <utility>

namespace QUOR {

namespace {

/// Outputs that a node can set without an allocation, so that it sets all of them or, on failure, none.
constexpr std::size_t kUsualOutputs = 4;

std::size_t SlotNumber(const char* where, int index) {
    if (index < 0) {
        throw CException(where, CString("there is no slot %1").Arg(Long{index}, 0), nullptr);
    }
    return static_cast<std::size_t>(index);
}

} // namespace

CPNode::CPNode() { m_outputs.reserve(kUsualOutputs); }

CPNode::~CPNode() = default;

void CPNode::Init(const CValueMap* parameters) {
    if (parameters == nullptr || parameters == &Parameters()) {
        return;
    }
    for (const auto& [key, value] : *parameters) {
        Parameters().SetEntry(key, value->Clone(EnTfOwnership::Copy));
    }
}

bool CPNode::TestInterface(const CString& name) {
    return name == "CPNode" || name == "IVectorizable" || IPluginObject::TestInterface(name);
}

void CPNode::NodeInit() {}

int CPNode::DebugLevel() { return Parameters().EntryLong("debug_level", 0); }

const CValueMap& CPNode::Parameters() const { return m_parameters; }

CValueMap& CPNode::Parameters() { return m_parameters; }

CPNode::EnObjType CPNode::Type() const { return EnObjType::Node; }

void CPNode::AddDebugData(int level, const CValue& data, const char* name) {
    if (level <= DebugLevel()) {
        m_debugData.SetEntry(name, std::unique_ptr<CValue>(data.Clone(EnTfOwnership::Copy)));
    }
}

void CPNode::AddResultData(CValue* data, bool takeOwnership, const char* name) {
    const bool copies = data != nullptr && !takeOwnership;
    std::unique_ptr<CValue> owned(copies ? data->Clone(EnTfOwnership::Copy) : data); // before a key is made of the name
    m_resultData.SetEntry(name, std::move(owned));
}

void CPNode::DeleteData() {
    m_debugData.Clear();
    m_resultData.Clear();
}

CValueVector* CPNode::Vectorize() const {
    auto state = std::make_unique<CValueVector>();
    state->PushBack(Parameters().Clone(EnTfOwnership::Copy));
    return state.release();
}

void CPNode::Devectorize(const CValueVector* state) {
    if (state == nullptr || state->Size() != 1 || !state->HasEntry(0, EnValType::Map)) {
        throw CException("CPNode::Devectorize", "the state must be a vector with the map of the parameters", nullptr);
    }
    Parameters().Copy(*state->Entry(0, true), EnTfOwnership::Copy, true);
}

CValue* CPNode::GetStackInput(int index, bool required) {
    CValue* value = HasStackInput(index) ? m_inputs[static_cast<std::size_t>(index)] : nullptr;
    if (value == nullptr && required) {
        throw CException("CPNode::GetStackInput", CString("there is no input %1").Arg(Long{index}, 0), nullptr);
    }
    return value;
}

bool CPNode::HasStackInput(Long index) const {
    return index >= 0 && static_cast<std::size_t>(index) < m_inputs.size() &&
           m_inputs[static_cast<std::size_t>(index)] != nullptr;
}

void CPNode::SetStackOutput(int index, CValue* value) {
    std::unique_ptr<CValue> owned(value);
    const std::size_t slot = SlotNumber("CPNode::SetStackOutput", index);
    if (slot >= m_outputs.size()) {
        m_outputs.resize(slot + 1);
    }
    if (m_outputs[slot].get() == value) {
        static_cast<void>(owned.release()); // the output is its own successor
    } else {
        m_outputs[slot] = std::move(owned);
    }
}

void CPNode::SetStackInput(int index, CValue* value) {
    const std::size_t slot = SlotNumber("CPNode::SetStackInput", index);
    if (slot >= m_inputs.size()) {
        m_inputs.resize(slot + 1, nullptr);
    }
    m_inputs[slot] = value;
}

CValue* CPNode::StackOutput(int index) const {
    return index >= 0 && static_cast<std::size_t>(index) < m_outputs.size()
               ? m_outputs[static_cast<std::size_t>(index)].get()
               : nullptr;
}

std::unique_ptr<CValue> CPNode::TakeStackOutput(int index) {
    return StackOutput(index) == nullptr ? nullptr : std::move(m_outputs[static_cast<std::size_t>(index)]);
}

void CPNode::ClearStack() {
    m_inputs.clear();
    m_outputs.clear();
    DeleteData();
}

} // namespace QUOR

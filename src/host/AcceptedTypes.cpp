#include "AcceptedTypes.h"

#include "NodeParameters.h"
#include "SampleType.h"
#include "ValueFile.h"

#include <algorithm>
#include <new>

using namespace QUOR;

namespace vessa {

namespace {

/// Ones, since zeros mean nothing to some nodes, which then don't get to what they refuse.
CImage Ones(const IImage::CType& type) {
    CImage image(type, CSize(4, 4), CSize(0, 0, 0));
    WithSampleType(type, [&]<class T>(T /*zero*/) {
        std::fill_n(static_cast<T*>(image.Buffer().Data()), image.Buffer().Size() / sizeof(T), T{1});
    });
    return image;
}

/// A trial of one input of a node.
class CTrial {
public:
    CTrial(CModules& modules, const StNodeDescription& node, std::size_t input, std::size_t usual)
        : m_modules(modules), m_node(node), m_input(input), m_usual(usual) {}

    /// True if the node takes `type` beside other inputs of some one type.
    bool Takes(const IImage::CType& type) const {
        const std::vector<IImage::CType>& others = AllTypes();
        return std::any_of(others.begin(), others.end(),
                           [&](const IImage::CType& other) { return TakesBeside(type, other); });
    }

private:
    bool TakesBeside(const IImage::CType& type, const IImage::CType& other) const {
        CImage image = Ones(type);
        CImage otherImage = Ones(other);
        CValuePointer<CImage> value(&image);
        CValuePointer<CImage> otherValue(&otherImage);
        const CModules::StNode made = m_modules.Make(m_node.name);
        CPNode& node = *made.node;
        for (std::size_t slot = 0; slot < std::max(m_usual, m_input + 1); ++slot) {
            const bool isFilled = slot < m_usual && !m_node.inputs[slot].isMap;
            CValue* usual = isFilled ? &otherValue : nullptr;
            node.SetStackInput(static_cast<int>(slot), slot == m_input ? &value : usual);
        }
        return Succeeds(node);
    }

    bool Succeeds(CPNode& node) const {
        try {
            CValueMap parameters;
            PlaceDefaults(m_node, parameters);
            node.Init(&parameters);
            node.NodeInit();
            node.Run();
            return true;
        } catch (const std::bad_alloc&) { // tells nothing of the type
            throw;
        } catch (...) { // a plug-in may raise anything
            return false;
        }
    }

    CModules& m_modules;
    const StNodeDescription& m_node;
    std::size_t m_input;
    std::size_t m_usual;
};

} // namespace

std::vector<std::vector<std::string>> AcceptedTypes(CModules& modules, const StNodeDescription& node,
                                                    std::size_t usual) {
    std::vector<std::vector<std::string>> accepted(node.inputs.size());
    for (std::size_t input = 0; input < node.inputs.size(); ++input) {
        const CTrial trial(modules, node, input, usual);
        for (const IImage::CType& type : AllTypes()) {
            if (!node.inputs[input].isMap && trial.Takes(type)) {
                accepted[input].emplace_back(type.ToString());
            }
        }
    }
    return accepted;
}

} // namespace vessa

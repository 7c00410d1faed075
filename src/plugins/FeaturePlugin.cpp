#include "FeaturePlugin.h"

#include "Value/ValuePointer.h"

namespace QUOR::shapefeatures {

namespace {

void SetText(CValueMap& map, const char* key, const std::string& text) {
    map.SetEntry(key, std::make_unique<CValueString>(CString(text)));
}

/// Adds an image and gives its section of the text.
std::string AddInput(CValueMap& inputs, const char* key, const char* label) {
    auto image = std::make_unique<CValueOwnedPointer<CImage>>(nullptr, 1);
    SetText(image->Meta(), "label", label);
    image->Meta().SetEntry("optional", std::make_unique<CValueBool>(false));
    inputs.SetEntry(key, std::move(image));
    return std::string("\nINPUT ") + key + "\n" + label + "\n";
}

/// Adds a feature and gives its section of the text.
std::string AddOutput(CValueMap& outputs, int index, const StFeatureText& text) {
    const std::string number = std::to_string(index);
    auto feature = std::make_unique<CValueDouble>();
    SetText(feature->Meta(), "label", text.label);
    SetText(feature->Meta(), "unit", text.unit);
    SetText(feature->Meta(), "desc", text.definition);
    outputs.SetEntry(CValue_Key(number), std::move(feature));
    return "\nOUTPUT " + number + "\n" + text.label + ", in " + text.unit + ": " + text.definition + "\n";
}

} // namespace

void CFeaturePlugin::GetPluginSetup(CValueMap& setup) {
    SetText(setup, "pluginType", "Feature");
    SetText(setup, "subType", "Region");
    SetText(setup, "name", m_name);
    setup.SetEntry("parameters", std::make_unique<CValueMap>());
    auto inputs = std::make_unique<CValueMap>();
    auto outputs = std::make_unique<CValueMap>();
    std::string text = std::string("BRIEF\n") + m_brief + "\n";
    text += AddInput(*inputs, "image-0", "Grey values, a plane of type IMAGE_GREY_F.");
    text += AddInput(*inputs, "image-mask", "Mask of type IMAGE_GREY_F and of the same size: not 0 on the region.");
    for (int index = 0; index < FeatureCount(); ++index) {
        text += AddOutput(*outputs, index, Text(index));
    }
    text += "\nNOTE\nWithout an element in the mask every feature is 0.\n";
    setup.SetEntry("inputs", std::move(inputs));
    setup.SetEntry("outputs", std::move(outputs));
    SetText(setup, "description", text);
}

} // namespace QUOR::shapefeatures

// Runs a node of the module on parameters and inputs of every kind, several times on one object. Whatever they are, a
// run gives whole outputs or a failure without any, and leaves its inputs as they were.

#include "FuzzInput.h"

#include "vessa.h"

#include <cstdlib>
#include <iostream>
#include <memory>
#include <sstream>

using namespace QUOR;
using vessa::fuzz::CFuzzInput;

namespace {

const CPluginModule& Module() {
    static const CPluginModule module(MANIPULATION_MODULE);
    return module;
}

const std::vector<IImage::CType>& Types() {
    static const std::vector<IImage::CType> types{IMAGE_BINARY_FG, IMAGE_BINARY_BG, IMAGE_GREY_8,
                                                  IMAGE_GREY_16,   IMAGE_GREY_32,   IMAGE_GREY_64,
                                                  IMAGE_GREY_F,    IMAGE_GREY_D,    IMAGE_RGB_8};
    return types;
}

[[noreturn]] void Broken(const char* what) {
    std::cerr << "broken: " << what << std::endl;
    std::abort();
}

/// Small extents, or huge ones beside one of 0.
CSize Extents(CFuzzInput& input) {
    const std::size_t empty = input.Below(16);
    const auto extent = [&](std::size_t axis) -> std::int64_t {
        const std::size_t small = input.Below(10);
        const bool isHuge = empty < 3 && small == 9;
        return axis == empty ? 0 : isHuge ? std::int64_t{1} << 40 : static_cast<std::int64_t>(small);
    };
    const std::int64_t x = extent(0);
    const std::int64_t y = extent(1);
    return empty != 2 && input.Flip() ? CSize(x, y) : CSize(x, y, extent(2));
}

std::unique_ptr<CImage> Image(CFuzzInput& input) {
    auto image = std::make_unique<CImage>(input.OneOf(Types()), Extents(input), CSize(0, 0, 0));
    if (image->Buffer().Size() > 0) {
        input.Fill(image->Buffer().Data(), image->Buffer().Size());
    }
    return image;
}

/// Tables of labels have an entry for each number up to the largest label, which is to fit into memory here.
void BoundLabels(CImage& image) {
    constexpr float largest = 1000000.0F;
    if (image.Type() == IMAGE_GREY_F) {
        auto* elements = static_cast<float*>(image.Buffer().Data());
        std::replace_if(
            elements, elements + image.Buffer().Size() / sizeof(float), [](float element) { return element > largest; },
            largest);
    }
}

std::unique_ptr<CValue> Scalar(CFuzzInput& input) {
    switch (input.Below(4)) {
    case 0:
        return std::make_unique<CValueBool>(input.Flip());
    case 1:
        return std::make_unique<CValueLong>(input.Flip() ? input.Take<std::int8_t>() : input.Take<Long>());
    case 2:
        return std::make_unique<CValueDouble>(input.Flip() ? input.Take<std::int8_t>() / 4.0 : input.Take<double>());
    default:
        return std::make_unique<CValueString>(CString(input.Text()));
    }
}

/// The values that a key is likely to get: mostly those of its own kind.
std::unique_ptr<CValue> ValueFor(const CValue& standard, CFuzzInput& input) {
    if (input.Below(8) == 0) {
        return Scalar(input);
    }
    const std::string allowed = standard.Meta().EntryString("val/enValues", CString()).Text();
    switch (standard.GenericType()) {
    case EnValType::Bool:
        return std::make_unique<CValueBool>(input.Flip());
    case EnValType::Long:
        return std::make_unique<CValueLong>(input.Flip() ? input.Take<std::int8_t>() : input.Take<Long>());
    case EnValType::Double:
        return std::make_unique<CValueDouble>(input.Flip() ? input.Take<std::int8_t>() / 4.0 : input.Take<double>());
    default: {
        std::vector<std::string> words;
        std::istringstream list(allowed);
        for (std::string word; std::getline(list >> std::ws, word, ',');) {
            words.push_back(word);
        }
        words.push_back(input.Text());
        return std::make_unique<CValueString>(CString(input.OneOf(words)));
    }
    }
}

std::unique_ptr<CValue> MapOfRegions(CFuzzInput& input) {
    auto map = std::make_unique<CValueMap>();
    for (const char* key : {"offset_x", "offset_y", "offset_z", "size_x", "size_y", "size_z", "value", "entries"}) {
        if (input.Flip()) {
            map->SetEntry(key, Scalar(input).release());
        }
    }
    for (std::size_t index = input.Below(4); index > 0; --index) {
        map->SetEntry(static_cast<long long>(index), Scalar(input).release());
    }
    return map;
}

/// What stands on an input slot, with the image that it points to.
struct StInput {
    std::unique_ptr<CImage> image;
    std::unique_ptr<CImage> before;
    std::unique_ptr<CValue> value;
};

StInput Input(CFuzzInput& bytes, bool areLabels) {
    StInput input;
    switch (bytes.Below(8)) {
    case 0:
        break;
    case 1:
        input.value = Scalar(bytes);
        break;
    case 2:
        input.value = MapOfRegions(bytes);
        break;
    case 3:
        input.value = std::make_unique<CValuePointer<CImage>>(nullptr);
        break;
    default:
        input.image = Image(bytes);
        if (areLabels) {
            BoundLabels(*input.image);
        }
        input.before.reset(input.image->Clone(IImage::EnCloningStrategy::Everything));
        input.value = std::make_unique<CValuePointer<CImage>>(input.image.get());
    }
    return input;
}

bool Same(const CImage& a, const CImage& b) {
    return a.Type() == b.Type() && a.Size() == b.Size() && a.Buffer().Size() == b.Buffer().Size() &&
           (a.Buffer().Size() == 0 || std::memcmp(a.Buffer().Data(), b.Buffer().Data(), a.Buffer().Size()) == 0);
}

/// Declared parameters, and those that nodes read without telling.
void SetParameters(CPNode& node, const CValueMap& setup, CFuzzInput& input) {
    for (const auto& [key, standard] : *setup.Entry("parameters", true)->Map()) {
        if (input.Flip()) {
            node.Parameters().SetEntry(key, ValueFor(*standard, input).release());
        }
    }
    for (const char* key : {"run_once", "verbose", "abort", "factorX", "factorY"}) {
        if (input.Below(8) == 1) {
            node.Parameters().SetEntry(key, Scalar(input).release());
        }
    }
    if (input.Below(4) == 1) {
        node.Parameters().SetEntry("shrink_method", new CValueString("gauss"));
    }
}

void RequireWholeOutputs(const CPNode& node, bool hasFailed) {
    for (int slot = 0; slot < 4; ++slot) {
        const CValue* value = node.StackOutput(slot);
        if (value == nullptr) {
            continue;
        }
        if (hasFailed) {
            Broken("a failed run has set an output");
        }
        if (value->GenericType() == EnValType::Pointer) {
            const auto* image = UnwrapPointer<CImage>(value);
            if (image == nullptr) {
                Broken("an output has no image");
            }
            const std::uint64_t bytes = image->Size().Volume() * image->Type().pixelBytes;
            if (image->Buffer().Size() != bytes) {
                Broken("an output's block has not its image's size");
            }
        }
    }
}

void RunOnce(CPNode& node, std::size_t ports, bool areLabels, CFuzzInput& input) {
    std::vector<StInput> inputs;
    for (std::size_t slot = 0; slot < ports; ++slot) {
        inputs.push_back(Input(input, areLabels));
        node.SetStackInput(static_cast<int>(slot), inputs.back().value.get());
    }
    bool hasFailed = false;
    try {
        node.Run();
    } catch (const CException&) {
        hasFailed = true;
    } catch (const std::bad_alloc&) {
        hasFailed = true;
    }
    RequireWholeOutputs(node, hasFailed);
    for (const StInput& given : inputs) {
        if (given.image != nullptr && !Same(*given.image, *given.before)) {
            Broken("an input has changed");
        }
    }
    node.ClearStack();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    constexpr std::size_t mostBytes = std::size_t{1} << 24; // enough for small extents, and no run takes long
    SetImageMemoryLimit(mostBytes);
    std::cout.setstate(std::ios::failbit); // what nodes print
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CFuzzInput input(data, size);
    const std::string& name = input.OneOf(Module().Names());
    const std::unique_ptr<IPluginObject> object = Module().Create(name);
    auto& node = dynamic_cast<CPNode&>(*object);
    CValueMap setup;
    node.GetPluginSetup(setup);
    const std::size_t ports = setup.Entry("inputs", true)->Map()->Size();
    for (std::size_t step = 1 + input.Below(3); step > 0; --step) {
        SetParameters(node, setup, input);
        try {
            node.NodeInit();
        } catch (const CException&) { // a parameter of a kind that it can't take
            continue;
        }
        RunOnce(node, ports, name.starts_with("LabelTo"), input);
    }
    return 0;
}

#include "PropertyTest.h"

#include <array>
#include <iostream>
#include <tuple>

namespace QUOR::test {

namespace {

constexpr const char* kAttribute = "Image/ContentType";

/// Labels, fractions and a number below 0; none is so large that a table of labels gets long.
float FewNumber(std::mt19937& random) {
    constexpr std::array<float, 12> numbers{0.0F, 0.0F, 0.0F, 1.0F, 1.0F, 2.0F, 3.0F, 7.0F, 2.5F, -0.0F, 0.5F, -1.0F};
    return numbers[random() % numbers.size()];
}

/// Fills a block with few numbers of the type `T`.
template <class T> void DrawFew(CImage& image, std::mt19937& random) {
    auto* elements = static_cast<T*>(image.Buffer().Data());
    std::generate_n(elements, image.Buffer().Size() / sizeof(T), [&] {
        return std::is_floating_point_v<T> ? static_cast<T>(FewNumber(random)) : static_cast<T>(random() % 4);
    });
}

void DrawFew(CImage& image, std::mt19937& random) {
    if (image.Type() == IMAGE_GREY_F) {
        DrawFew<float>(image, random);
    } else if (image.Type() == IMAGE_GREY_D) {
        DrawFew<double>(image, random);
    } else if (image.Type().channelBytes == 1) {
        DrawFew<std::uint8_t>(image, random);
    } else if (image.Type().channelBytes == 2) {
        DrawFew<std::uint16_t>(image, random);
    } else if (image.Type().channelBytes == 4) {
        DrawFew<std::uint32_t>(image, random);
    } else {
        DrawFew<std::uint64_t>(image, random);
    }
}

rc::Gen<StPicture> Picture(const std::vector<IImage::CType>& types, const rc::Gen<CSize>& size, bool few) {
    return rc::gen::map(rc::gen::tuple(rc::gen::elementOf(types), size, rc::gen::arbitrary<std::uint32_t>()),
                        [few](const auto& parts) {
                            return StPicture{std::get<0>(parts), std::get<1>(parts), std::get<2>(parts), few};
                        });
}

/// The words of a list that a comma and a blank divide.
std::vector<std::string> Words(const std::string& list) {
    std::vector<std::string> words;
    std::istringstream stream(list);
    for (std::string word; std::getline(stream >> std::ws, word, ',');) {
        words.push_back(word);
    }
    return words;
}

/// The value of a parameter that is offered.
Setting Standard(const CValue& standard) {
    switch (standard.GenericType()) {
    case EnValType::Bool:
        return standard.Bool();
    case EnValType::Long:
        return static_cast<int>(standard.Long());
    case EnValType::Double:
        return standard.Double();
    default:
        return standard.String().Text();
    }
}

Setting AnySetting(const std::string& key, const CValue& standard) {
    if (*rc::gen::inRange(0, 3) == 0) {
        return Standard(standard);
    }
    switch (standard.GenericType()) {
    case EnValType::Bool:
        return *rc::gen::arbitrary<bool>();
    case EnValType::Long:
        return *rc::gen::inRange(-3, 9);
    case EnValType::Double:
        return *rc::gen::inRange(-16, 17) * (key == "angle" ? 22.5 : 0.25); // quarter turns are among the angles
    default: {
        const auto allowed = Words(standard.Meta().EntryString("val/enValues", standard.String()).Text());
        return *rc::gen::elementOf(allowed);
    }
    }
}

/// The image of one slot: often one of a type that every node takes, or one that suits the image before it.
std::optional<StPicture> AnyInput(const CValue& port, const std::optional<StPicture>& before) {
    if (port.GenericType() != EnValType::Pointer ||
        (port.Meta().EntryBool("optional", false) && *rc::gen::arbitrary<bool>())) {
        return std::nullopt;
    }
    // Any pattern of bits in a float might be a huge label.
    StPicture picture = *rc::gen::oneOf(AnyPicture(TypesWithout({IMAGE_GREY_F})), AnyPicture({IMAGE_GREY_8}),
                                        FewNumbers({IMAGE_GREY_F}), FewNumbers(AllTypes()));
    if (before.has_value() && *rc::gen::inRange(0, 5) > 0) {
        picture.few = picture.few || before->type == IMAGE_GREY_F;
        picture.type = before->type;
        picture.size = before->size;
    }
    return picture;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const StPicture& picture) {
    return stream << picture.type.ToString() << ' ' << picture.size.ToString() << (picture.few ? " few" : " any")
                  << " seed " << picture.seed;
}

std::ostream& operator<<(std::ostream& stream, const StCase& given) {
    for (const auto& [key, setting] : given.settings) {
        std::visit([&stream, &name = key](const auto& value) { stream << name << '=' << value << ' '; }, setting);
    }
    for (const auto& [slot, picture] : given.inputs) {
        stream << "\ninput " << slot << ": ";
        picture.has_value() ? stream << *picture : stream << "none";
    }
    return stream;
}

ImagePtr Draw(const StPicture& picture) {
    std::mt19937 random(picture.seed);
    ImagePtr image = RandomImage(picture.type, picture.size, random);
    if (picture.few) {
        DrawFew(*image, random);
    }
    image->Attributes().SetEntry(kAttribute, new CValueString(CString("a picture")));
    return image;
}

rc::Gen<CSize> AnySize(std::int64_t least) {
    const auto flat = rc::gen::map(
        rc::gen::tuple(rc::gen::inRange<std::int64_t>(least, 70), rc::gen::inRange<std::int64_t>(least, 20)),
        [](const auto& extents) { return CSize(std::get<0>(extents), std::get<1>(extents)); });
    const auto solid = rc::gen::map(rc::gen::tuple(rc::gen::inRange<std::int64_t>(least, 40),
                                                   rc::gen::inRange<std::int64_t>(least, 12),
                                                   rc::gen::inRange<std::int64_t>(least, 6)),
                                    [](const auto& extents) { return std::make_from_tuple<CSize>(extents); });
    return rc::gen::oneOf(flat, solid);
}

rc::Gen<StPicture> AnyPicture(const std::vector<IImage::CType>& types, std::int64_t least) {
    return Picture(types, AnySize(least), false);
}

rc::Gen<StPicture> AnyPictureOf(const std::vector<IImage::CType>& types, const CSize& size) {
    return Picture(types, rc::gen::just(size), false);
}

rc::Gen<StPicture> FewNumbers(const std::vector<IImage::CType>& types, std::int64_t least) {
    return Picture(types, AnySize(least), true);
}

void Apply(CNodeUnderTest& node, const Settings& settings) {
    for (const auto& [key, setting] : settings) {
        const char* name = key.c_str();
        if (const auto* text = std::get_if<std::string>(&setting)) {
            node.Set(name, text->c_str());
        } else if (const auto* flag = std::get_if<bool>(&setting)) {
            node.Set(name, *flag);
        } else if (const auto* number = std::get_if<int>(&setting)) {
            node.Set(name, *number);
        } else {
            node.Set(name, std::get<double>(setting));
        }
    }
}

ImagePtr Through(const char* name, const Settings& settings, const std::vector<const CImage*>& images, int slot) {
    CNodeUnderTest node(name);
    Apply(node, settings);
    for (std::size_t input = 0; input < images.size(); ++input) {
        node.Input(static_cast<int>(input), std::make_unique<CImage>(*images[input]));
    }
    node.Run();
    return std::make_unique<CImage>(node.Output(slot));
}

ImagePtr AsVolume(const CImage& image) {
    const CSize& size = image.Size();
    return MakeImage(image.Type(), CSize(size.x, size.y, size.z), BytesOf(image));
}

void RequireSame(const CImage& expected, const CImage& actual) {
    const auto same = SameImage(expected, actual);
    if (!same) {
        RC_FAIL(same.message());
    }
}

rc::Gen<StCase> AnyCaseOf(const std::string& name) {
    return rc::gen::exec([name] {
        const auto setup = DescriptionOf(name);
        StCase given;
        for (const auto& [key, standard] : *setup->Entry("parameters", true)->Map()) {
            given.settings[key.Text()] = AnySetting(key.Text(), *standard);
        }
        std::optional<StPicture> before;
        for (const auto& [slot, port] : *setup->Entry("inputs", true)->Map()) {
            before = AnyInput(*port, before);
            given.inputs[std::stoi(slot.Text())] = before;
        }
        return given;
    });
}

void Place(CNodeUnderTest& node, const StCase& given) {
    node.Node().ClearStack();
    Apply(node, given.settings);
    for (const auto& [slot, picture] : given.inputs) {
        picture.has_value() ? node.Input(slot, Draw(*picture)) : node.NoInput(slot);
    }
}

StOutcome OutcomeOf(CNodeUnderTest& node, const std::function<void()>& work) {
    StOutcome outcome;
    try {
        work();
    } catch (const CException& failure) {
        outcome.failure = failure.FormattedWhat();
    }
    for (int slot = 0; slot < 2; ++slot) {
        if (node.HasOutput(slot) && node.OutputValue(slot)->GenericType() == EnValType::Pointer) {
            outcome.images.push_back(std::make_unique<CImage>(node.Output(slot)));
        }
    }
    return outcome;
}

StOutcome RunCase(CNodeUnderTest& node, const StCase& given) {
    const CCapturedOutput printed(std::cout);
    const CCapturedOutput warned(std::cerr);
    Place(node, given);
    StOutcome outcome = OutcomeOf(node, [&] { node.Run(); });
    RC_ASSERT(outcome.failure.empty() || outcome.images.empty());
    for (const auto& [slot, picture] : given.inputs) {
        if (picture.has_value()) {
            const ImagePtr before = Draw(*picture);
            RequireSame(*before, node.InputImage(slot));
            RC_ASSERT(before->Attributes().EqualData(node.InputImage(slot).Attributes()));
        }
    }
    return outcome;
}

testing::AssertionResult SameOutcome(const StOutcome& expected, const StOutcome& actual) {
    if (actual.failure != expected.failure || actual.images.size() != expected.images.size()) {
        return testing::AssertionFailure()
               << actual.images.size() << " outputs, failure '" << actual.failure << "'; expected "
               << expected.images.size() << ", '" << expected.failure << "'";
    }
    for (std::size_t slot = 0; slot < expected.images.size(); ++slot) {
        const auto same = SameImage(*expected.images[slot], *actual.images[slot]);
        if (!same) {
            return testing::AssertionFailure() << "output " << slot << ": " << same.message();
        }
    }
    return testing::AssertionSuccess();
}

void RequireSame(const StOutcome& expected, const StOutcome& actual) {
    const auto same = SameOutcome(expected, actual);
    if (!same) {
        RC_FAIL(same.message());
    }
}

} // namespace QUOR::test

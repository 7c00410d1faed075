// The graphs in examples/graphs, run on the samples as they stand: what they give, told by literal facts and by other
// ways to the same result.

#include "ProgramTest.h"

#include "NodeTest.h"
#include "PortFile.h"
#include "ValueFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>

namespace vessa::test {
namespace {

namespace fs = std::filesystem;

const std::string kGraphs = EXAMPLES_DIRECTORY "/graphs/";
const std::string kSamples = SAMPLES_DIRECTORY "/";

/// An image of one kind of elements, as it is read from a file.
template <class T> struct StPicture {
    std::size_t width;
    std::size_t height;
    std::string type;
    std::vector<T> elements;

    const T& At(std::size_t x, std::size_t y, std::size_t z = 0) const {
        return elements[x + width * (y + height * z)];
    }
};

template <class T = std::uint8_t> StPicture<T> Picture(const std::string& file) {
    const auto value = ReadValue(file, {});
    const auto& image = *QUOR::UnwrapPointer<QUOR::CImage>(value.get());
    return {static_cast<std::size_t>(image.Size().x), static_cast<std::size_t>(image.Size().y), image.Type().ToString(),
            QUOR::test::ElementsOf<T>(image)};
}

/// The colours of a file, pixel by pixel: the planes of its channels stand one behind the other.
std::vector<std::array<std::uint8_t, 3>> Colours(const std::string& file) {
    const auto picture = Picture(file);
    EXPECT_EQ(picture.type, "IMAGE_RGB_8");
    const std::size_t count = picture.elements.size() / 3;
    std::vector<std::array<std::uint8_t, 3>> colours(count);
    for (std::size_t index = 0; index < count; ++index) {
        colours[index] = {picture.elements[index], picture.elements[count + index],
                          picture.elements[2 * count + index]};
    }
    return colours;
}

/// Runs an example graph in a folder of its own, with its own inputs.
class ExampleGraph : public testing::Test {
protected:
    /// `outputs` are "NAME=FILE" with files in the folder.
    void RunGraph(const std::string& name, const std::vector<std::string>& outputs) {
        std::vector<std::string> arguments{"pipeline", kGraphs + name};
        for (const std::string& output : outputs) {
            const std::size_t equals = output.find('=');
            arguments.insert(arguments.end(),
                             {"--output", output.substr(0, equals + 1) + (m_folder / output.substr(equals + 1))});
        }
        EXPECT_EQ(RunHere(arguments), (StResult{0, "", ""}));
    }

    CTestFolder m_folder;
};

TEST_F(ExampleGraph, CutsAPictureToTheBoxOfItsMask) {
    RunGraph("cut.json", {"picture=p.png", "mask=m.png", "box=b.json"});
    EXPECT_EQ(nlohmann::json::parse(TextOf(m_folder / "b.json")),
              nlohmann::json::parse(
                  R"({"offset_x": 43, "offset_y": 49, "offset_z": 0, "size_x": 314, "size_y": 222, "size_z": 1})"));
    const auto mask = Picture(m_folder / "m.png");
    const auto picture = Picture(m_folder / "p.png");
    const auto whole = Picture(kSamples + "workpiece.png");
    ASSERT_EQ(picture.width, 314U);
    ASSERT_EQ(picture.height, 222U);
    ASSERT_EQ(mask.elements.size(), picture.elements.size());
    std::size_t differences = 0;
    bool isLeftTouched = false;
    for (std::size_t y = 0; y < 222; ++y) {
        isLeftTouched = isLeftTouched || mask.At(0, y) != 0;
        for (std::size_t x = 0; x < 314; ++x) {
            differences += picture.At(x, y) != whole.At(x + 43, y + 49);
        }
    }
    EXPECT_EQ(differences, 0U);
    EXPECT_TRUE(isLeftTouched) << "the box is the smallest";
}

TEST_F(ExampleGraph, StraightensAWorkpiece) {
    RunGraph("straighten.json", {"picture=p.png"});
    const auto plate = Picture(m_folder / "p.png");
    EXPECT_EQ(plate.width, 301U) << "the plate is 300 pixels long";
    EXPECT_EQ(plate.height, 125U) << "and 124 high";
    // Metal is bright, the table is dark: the large bore lies 112 left of the middle, the slot 12 right of it.
    EXPECT_LT(plate.At(150 - 112, 62), 60);
    EXPECT_LT(plate.At(150 + 12, 62), 60);
    EXPECT_GT(plate.At(150 - 58, 62), 100);
    EXPECT_GT(plate.At(150, 30), 100);
    EXPECT_LT(plate.At(0, 0), 60) << "the corners are round";
}

TEST_F(ExampleGraph, TilesAVolume) {
    RunGraph("tile.json", {"plane=p.png"});
    const auto plane = Picture(m_folder / "p.png");
    const auto volume = Picture(kSamples + "volume.tif");
    ASSERT_EQ(plane.width, 4U * 64U);
    ASSERT_EQ(plane.height, 3U * 48U);
    std::size_t differences = 0;
    for (std::size_t z = 0; z < 12; ++z) {
        for (std::size_t y = 0; y < 48; ++y) {
            for (std::size_t x = 0; x < 64; ++x) {
                differences += plane.At(x + z % 4 * 64, y + z / 4 * 48) != volume.At(x, y, z);
            }
        }
    }
    EXPECT_EQ(differences, 0U);
}

TEST_F(ExampleGraph, TurnsARingByAQuarter) {
    RunGraph("turn.json", {"unrolled=u.tif", "turned=t.png"});
    const auto unrolled = Picture(m_folder / "u.tif");
    EXPECT_EQ(unrolled.width, 182U);
    EXPECT_EQ(unrolled.height, 4U * 286U) << "the shift is a quarter of the rows";

    EXPECT_EQ(RunHere({"run", "PolarToCartesian", "-i", m_folder / "u.tif", "-o", m_folder / "same.tif"}),
              (StResult{0, "", ""}));
    const auto same = Picture(m_folder / "same.tif");
    const auto turned = Picture(m_folder / "t.png");
    ASSERT_EQ(same.width, 363U);
    ASSERT_EQ(turned.width, 256U);
    ASSERT_EQ(turned.height, 256U);
    // Around the centre (181, 181) the point at (x, y) comes from (y, -x): clockwise, since y grows downwards. The rows
    // stand for a little more than a full turn, so that what comes across the seam is not quite in its place.
    int sum = 0;
    for (std::size_t y = 0; y < 256; ++y) {
        for (std::size_t x = 0; x < 256; ++x) {
            sum += std::abs(turned.At(x, y) - same.At(181 + y - 128, 181 + 128 - x));
        }
    }
    EXPECT_LT(sum, 256 * 256) << "less than one grey value in the mean";

    const auto ring = Picture(kSamples + "ring.png"); // of its teeth that on the right is missing
    EXPECT_LT(ring.At(240, 128), 40);
    EXPECT_GT(ring.At(128, 240), 100);
    EXPECT_GT(turned.At(240, 128), 100);
    EXPECT_LT(turned.At(128, 240), 40) << "now it is at the bottom";
}

TEST_F(ExampleGraph, ColoursParticlesBySize) {
    RunGraph("colour_by_size.json", {"coloured=c.png", "sizes=s.tif"});
    const auto labels = Picture<float>(kSamples + "labels.tif");
    const auto sizes = Picture<float>(m_folder / "s.tif");
    const auto coloured = Colours(m_folder / "c.png");
    const auto palette = Colours(kSamples + "palette.png");
    ASSERT_EQ(coloured.size(), labels.elements.size());

    std::map<float, std::array<std::uint8_t, 3>> colours; // of each label
    std::map<float, float> counts;
    for (std::size_t index = 0; index < labels.elements.size(); ++index) {
        const float label = labels.elements[index];
        counts[label] += label == 0 ? 0.0F : 1.0F;
        const auto colour = colours.emplace(label, coloured[index]).first->second;
        ASSERT_EQ(coloured[index], colour) << "a particle has one colour";
    }
    for (std::size_t index = 0; index < labels.elements.size(); ++index) {
        ASSERT_EQ(sizes.elements[index], counts[labels.elements[index]]);
    }
    std::vector<int> particles; // of each class
    for (std::size_t size = 0; size < 7; ++size) {
        particles.push_back(static_cast<int>(std::count_if(
            colours.begin(), colours.end(), [&](const auto& entry) { return entry.second == palette[size]; })));
    }
    EXPECT_EQ(particles, (std::vector<int>{1, 0, 6, 13, 10, 7, 4})) << "background, below 100, 200, 400, ... pixels";
}

TEST_F(ExampleGraph, KeepsEachRowOfATableOnce) {
    RunGraph("unique_rows.json", {"table=t.tif", "counts=c.npy"});
    const auto before = Picture<float>(kSamples + "table.tif");
    const auto after = Picture<float>(m_folder / "t.tif");
    const auto counts = Picture<float>(m_folder / "c.npy");
    EXPECT_EQ(before.height, 12U);
    ASSERT_EQ(after.height, 8U);
    ASSERT_EQ(after.width, 6U);
    EXPECT_EQ(counts.elements, (std::vector<float>{2, 3, 1, 2, 1, 1, 1, 1}));
    for (std::size_t row = 0; row < after.height; ++row) {
        std::size_t found = 0;
        for (std::size_t other = 0; other < before.height; ++other) {
            found += std::equal(&after.At(0, row), &after.At(0, row) + 6, &before.At(0, other));
        }
        EXPECT_EQ(static_cast<float>(found), counts.elements[row]) << row;
    }
}

TEST(ExampleGraphs, HaveATestEach) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(kGraphs)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"colour_by_size.json", "cut.json", "straighten.json", "tile.json",
                                               "turn.json", "unique_rows.json"}));
}

TEST(GraphSchema, NamesTheElementTypes) {
    const auto schema = nlohmann::json::parse(TextOf(EXAMPLES_DIRECTORY "/../docs/graph.schema.json"));
    std::vector<std::string> names;
    for (const auto& type : AllTypes()) {
        names.emplace_back(type.ToString());
    }
    EXPECT_EQ(schema["$defs"]["input"]["properties"]["type"]["enum"].get<std::vector<std::string>>(), names);
}

} // namespace
} // namespace vessa::test

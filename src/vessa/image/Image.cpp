#include "image/Image.h"

#include "base/Exception.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace QUOR {

constinit const IImage::CType IMAGE_BINARY_FG("IMAGE_BINARY_FG", 1, 1, false, 2);
constinit const IImage::CType IMAGE_BINARY_BG("IMAGE_BINARY_BG", 1, 1, false, 3);
constinit const IImage::CType IMAGE_GREY_8("IMAGE_GREY_8", 1, 1, false, 5);
constinit const IImage::CType IMAGE_GREY_16("IMAGE_GREY_16", 1, 2, false, 6);
constinit const IImage::CType IMAGE_GREY_32("IMAGE_GREY_32", 1, 4, false, 7);
constinit const IImage::CType IMAGE_GREY_F("IMAGE_GREY_F", 1, 4, false, 8);
constinit const IImage::CType IMAGE_GREY_D("IMAGE_GREY_D", 1, 8, false, 9);
constinit const IImage::CType IMAGE_GREY_64("IMAGE_GREY_64", 1, 8, false, 19);
constinit const IImage::CType IMAGE_RGB_8("IMAGE_RGB_8", 3, 1, false, 32);

namespace {

/// Raises for a type whose elements have more bytes than are counted.
void RequireCounted(const IImage::CType& type) {
    if (std::uint32_t{type.channels} * type.channelBytes > std::numeric_limits<std::uint16_t>::max()) {
        CString message("an element of the type %1 has more than 65535 bytes");
        throw CException("CImage", message.Arg(type.ToString()), nullptr);
    }
}

/// The bytes of an image; raises for extents and types that no image can have.
std::size_t BytesOf(const IImage::CType& type, const CSize& size) {
    constexpr std::uint64_t most = std::numeric_limits<std::int64_t>::max();
    const std::array<std::int64_t, 3> extents{size.x, size.y, size.z};
    const bool negative = std::any_of(extents.begin(), extents.end(), [](std::int64_t extent) { return extent < 0; });
    std::uint64_t bytes = type.pixelBytes;
    if (!negative && std::find(extents.begin(), extents.end(), 0) != extents.end()) {
        return 0;
    }
    RequireCounted(type);
    bool tooLarge = negative;
    for (const std::int64_t extent : extents) {
        tooLarge =
            __builtin_mul_overflow(bytes, static_cast<std::uint64_t>(extent), &bytes) || bytes > most || tooLarge;
    }
    if (tooLarge) {
        CString message(negative ? "an image can't have the negative extents %1"
                                 : "an image of the extents %1 is too large");
        throw CException("CImage", message.Arg(size.ToString()), nullptr);
    }
    return bytes;
}

/// Reads and writes elements of the sample type `Sample`.
template <class Sample> class CAccess : public IAccess {
public:
    CAccess(CImage& image, bool checked) : m_image(image), m_checked(checked) {}

    double Get(std::int64_t x, std::int64_t y, std::int64_t z, int channel) const override {
        Sample sample;
        std::memcpy(&sample, At(x, y, z, channel), sizeof(Sample));
        return static_cast<double>(sample);
    }

    void Set(std::int64_t x, std::int64_t y, std::int64_t z, int channel, double value) override {
        const Sample sample = FromDouble(value);
        std::memcpy(At(x, y, z, channel), &sample, sizeof(Sample));
    }

private:
    static Sample FromDouble(double value) {
        if constexpr (std::is_floating_point_v<Sample>) {
            return static_cast<Sample>(value);
        } else {
            constexpr Sample most = std::numeric_limits<Sample>::max();
            if (!(value > 0.0)) {
                return 0;
            }
            return value >= static_cast<double>(most) ? most : static_cast<Sample>(value);
        }
    }

    unsigned char* At(std::int64_t x, std::int64_t y, std::int64_t z, int channel) const {
        const CSize& size = m_image.Size();
        const IImage::CType& type = m_image.Type();
        if (m_checked) {
            const bool inside = x >= 0 && x < size.x && y >= 0 && y < size.y && z >= 0 && z < size.z && channel >= 0 &&
                                channel < type.channels;
            if (!inside) {
                CString message("element %1 of channel %2 lies outside an image of the extents %3");
                message.Arg(CPos(x, y, z).ToString()).Arg(Long{channel}, 0).Arg(size.ToString());
                throw CException("IAccess", message, nullptr);
            }
        }
        const auto element = static_cast<std::size_t>(x + size.x * (y + size.y * z));
        const auto plane = static_cast<std::size_t>(channel);
        const std::size_t sample =
            type.interleaved ? element * type.channels + plane : plane * size.Elements() + element;
        return static_cast<unsigned char*>(m_image.Buffer().Data()) + sample * sizeof(Sample);
    }

    CImage& m_image;
    bool m_checked;
};

std::unique_ptr<IAccess> MakeAccess(CImage& image, bool checked) {
    if (image.Type() == IMAGE_GREY_F) {
        return std::make_unique<CAccess<float>>(image, checked);
    }
    if (image.Type() == IMAGE_GREY_D) {
        return std::make_unique<CAccess<double>>(image, checked);
    }
    switch (image.Type().channelBytes) {
    case 1:
        return std::make_unique<CAccess<std::uint8_t>>(image, checked);
    case 2:
        return std::make_unique<CAccess<std::uint16_t>>(image, checked);
    case 4:
        return std::make_unique<CAccess<std::uint32_t>>(image, checked);
    case 8:
        return std::make_unique<CAccess<std::uint64_t>>(image, checked);
    default:
        throw CException("CImage::CreateAccess",
                         CString("samples of type %1 can't be accessed").Arg(image.Type().ToString()), nullptr);
    }
}

} // namespace

IAccess::~IAccess() = default;

IImage::~IImage() = default;

CImage::CImage(const IImage::CType& type, const CSize& size, const CSize& /*extra*/)
    : m_type(type), m_size(size), m_buffer(BytesOf(type, size)) {}

CImage::CImage(const CImage& other) : m_type(other.m_type), m_size(other.m_size), m_buffer(other.m_buffer) {
    m_attributes.Copy(other.m_attributes, EnTfOwnership::Copy, true);
}

CImage::~CImage() = default;

const IAccess* CImage::CreateAccess() const { return CreateAccess(true); }

const IAccess* CImage::CreateAccess(bool checked) const {
    // What is given out is constant, so that the image is never written through it.
    return MakeAccess(const_cast<CImage&>(*this), checked).release();
}

IAccess* CImage::CreateAccess() { return CreateAccess(true); }

IAccess* CImage::CreateAccess(bool checked) { return MakeAccess(*this, checked).release(); }

CImage* CImage::Clone(EnCloningStrategy strategy) const {
    if (strategy == EnCloningStrategy::Everything) {
        return new CImage(*this);
    }
    auto clone = std::make_unique<CImage>(m_type, m_size, CSize(0, 0, 0));
    if (strategy == EnCloningStrategy::WithoutAttributes) {
        clone->m_buffer.Copy(m_buffer);
    }
    return clone.release();
}

CImage& CImage::Resize(const CSize& size, const CSize& /*extra*/) {
    const std::size_t bytes = BytesOf(m_type, size);
    if (bytes != m_buffer.Size()) {
        m_buffer = CBuffer(bytes);
    }
    m_size = size;
    return *this;
}

void CImage::Retype(const IImage::CType& type) {
    RequireCounted(type);
    if (type.pixelBytes != m_type.pixelBytes) {
        CString message("elements of type %1 can't be read as %2");
        throw CException("CImage::Retype", message.Arg(m_type.ToString()).Arg(type.ToString()), nullptr);
    }
    m_type = type;
}

} // namespace QUOR

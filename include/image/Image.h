#pragma once

#include "Value/ValueMap.h"
#include "image/Buffer.h"
#include "image/Size.h"

namespace QUOR {

class CImage;

/// Reads and writes single elements of an image by their coordinates, whatever the element type. Every element of
/// 8 to 64 bits is given as a double, which holds integers up to 2^53 exactly.
class VESSA_API IAccess {
public:
    virtual ~IAccess();

    virtual double Get(std::int64_t x, std::int64_t y, std::int64_t z, int channel) const = 0;
    /// Integer elements take the number truncated toward zero and limited to their range; a NaN gives 0.
    virtual void Set(std::int64_t x, std::int64_t y, std::int64_t z, int channel, double value) = 0;
};

/// An image: elements of one type on a grid of two or three dimensions, with a map of attributes.
class VESSA_API IImage {
public:
    /// What `Clone` takes over.
    enum class EnCloningStrategy : int {
        Everything = 0,        ///< elements and attributes
        WithoutAttributes = 1, ///< the elements
        Shape = 2              ///< type and size only: the elements aren't initialised
    };

    /// The type of an image's elements.
    class VESSA_API CType {
    public:
        /// The name must outlive the type: usually it is a literal. `sampleBytes` are the bytes of one channel's
        /// sample, `code` is the code of the element kind, as in the table of constants below.
        constexpr CType(const char* name, std::uint16_t channelCount, std::uint16_t sampleBytes, bool together,
                        std::uint16_t code)
            : channels(channelCount), channelBytes(sampleBytes),
              pixelBytes(static_cast<std::uint16_t>(channelCount * sampleBytes)), interleaved(together), kind(code),
              m_name(name) {}

        /// The name, as in "IMAGE_GREY_8".
        const char* ToString() const { return m_name; }

        /// Same fields; the names may differ.
        friend bool operator==(const CType& a, const CType& b) {
            return a.channels == b.channels && a.channelBytes == b.channelBytes && a.interleaved == b.interleaved &&
                   a.kind == b.kind;
        }
        friend bool operator!=(const CType& a, const CType& b) { return !(a == b); }

        std::uint16_t channels;     ///< number of channels
        std::uint16_t channelBytes; ///< bytes of one sample
        std::uint16_t pixelBytes;   ///< bytes of one element with all its channels, or their low 16 bits
        bool interleaved;           ///< the channels of an element lie together; false for planes
        std::uint16_t kind;         ///< code of the element kind

    private:
        const char* m_name;
    };

    virtual ~IImage();

    /// Access to single elements, which the caller owns; it must not outlive the image or a change of its size.
    /// If `checked`, as by default, coordinates outside the image raise a `CException`. So does a type whose samples
    /// have other than 1, 2, 4 or 8 bytes.
    /// @{
    virtual const IAccess* CreateAccess() const = 0;
    virtual const IAccess* CreateAccess(bool checked) const = 0;
    virtual IAccess* CreateAccess() = 0;
    virtual IAccess* CreateAccess(bool checked) = 0;
    /// @}

    /// A new image, which the caller owns.
    virtual CImage* Clone(EnCloningStrategy strategy) const = 0;

    /// Side information of the picture, empty on a new image.
    virtual const CValueMap& Attributes() const = 0;
    virtual CValueMap& Attributes() = 0;

    virtual const CType& Type() const = 0;
    virtual const CSize& Size() const = 0;

    /// Gives the image a new size; its elements aren't initialised then, the attributes stay. `extra` is reserved and
    /// all zero. Raises a `CException` that names the extents if one is negative or the image had more than
    /// 2^63 - 1 bytes, one that names the type if an element had more than 65535 bytes, and `std::bad_alloc` for memory
    /// that cannot be had; the image is unchanged then.
    virtual CImage& Resize(const CSize& size, const CSize& extra) = 0;

    /// Reads the same bits as elements of another type. Raises a `CException` if its elements have another number of
    /// bytes.
    virtual void Retype(const CType& type) = 0;
};

/// @name Element types
/// Grey elements are unsigned integers, or floats for `_F` (single) and `_D` (double precision). A binary element is
/// a byte. The three channels of `IMAGE_RGB_8` are planes: the whole red plane, then green, then blue.
/// @{
VESSA_API extern const IImage::CType IMAGE_BINARY_FG; ///< kind 2
VESSA_API extern const IImage::CType IMAGE_BINARY_BG; ///< kind 3
VESSA_API extern const IImage::CType IMAGE_GREY_8;    ///< kind 5
VESSA_API extern const IImage::CType IMAGE_GREY_16;   ///< kind 6
VESSA_API extern const IImage::CType IMAGE_GREY_32;   ///< kind 7
VESSA_API extern const IImage::CType IMAGE_GREY_F;    ///< kind 8
VESSA_API extern const IImage::CType IMAGE_GREY_D;    ///< kind 9
VESSA_API extern const IImage::CType IMAGE_GREY_64;   ///< kind 19
VESSA_API extern const IImage::CType IMAGE_RGB_8;     ///< kind 32
/// @}

/// An image in one block of memory: element (x, y, z) of a channel is number x + width * (y + height * z).
class VESSA_API CImage : public IImage {
public:
    /// An image whose elements aren't initialised. Fails as `Resize` does.
    CImage(const IImage::CType& type, const CSize& size, const CSize& extra);
    /// An independent copy of elements and attributes.
    CImage(const CImage& other);
    CImage& operator=(const CImage&) = delete;
    ~CImage() override;

    const IAccess* CreateAccess() const override;
    const IAccess* CreateAccess(bool checked) const override;
    IAccess* CreateAccess() override;
    IAccess* CreateAccess(bool checked) override;
    CImage* Clone(EnCloningStrategy strategy) const override;
    const CValueMap& Attributes() const override { return m_attributes; }
    CValueMap& Attributes() override { return m_attributes; }
    const IImage::CType& Type() const override { return m_type; }
    const CSize& Size() const override { return m_size; }
    CImage& Resize(const CSize& size, const CSize& extra) override;
    void Retype(const IImage::CType& type) override;

    const CBuffer& Buffer() const { return m_buffer; }
    CBuffer& Buffer() { return m_buffer; }

private:
    IImage::CType m_type;
    CSize m_size;
    CBuffer m_buffer;
    CValueMap m_attributes;
};

} // namespace QUOR

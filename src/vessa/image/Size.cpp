#include "image/Size.h"

namespace QUOR {

CPos::~CPos() = default;

std::string CPos::ToString() const {
    std::string text("(");
    text.append(std::to_string(x)).append(", ").append(std::to_string(y));
    if (dim != 2) {
        text.append(", ").append(std::to_string(z));
    }
    return text.append(")");
}

bool operator==(const CPos& a, const CPos& b) { return a.x == b.x && a.y == b.y && a.z == b.z && a.dim == b.dim; }

CSize::~CSize() = default;

std::size_t CSize::Volume() const {
    return static_cast<std::size_t>(x) * static_cast<std::size_t>(y) * static_cast<std::size_t>(z);
}

CRect::~CRect() = default;

CBox::~CBox() = default;

} // namespace QUOR

#include "Case.h"

#include <sstream>
#include <string_view>

namespace QUOR::bench {

namespace {

std::vector<StScale> Scales(std::initializer_list<IImage::CType> types, std::initializer_list<CSize> sizes) {
    std::vector<StScale> scales;
    for (const IImage::CType& type : types) {
        for (const CSize& size : sizes) {
            scales.push_back({type, size});
        }
    }
    return scales;
}

} // namespace

std::string StScale::Name() const {
    std::ostringstream name;
    name << std::string(type.ToString()).substr(std::string_view("IMAGE_").size()) << '/' << size.x << 'x' << size.y;
    if (size.z > 1) {
        name << 'x' << size.z;
    }
    if (regions > 0) {
        name << '/' << regions << " regions";
    }
    return name.str();
}

std::vector<StScale> Planes(std::initializer_list<IImage::CType> types) {
    return Scales(types, {CSize(256, 256), CSize(4096, 4096)});
}

std::vector<StScale> SmallerPlanes() {
    return Scales({IMAGE_GREY_8, IMAGE_GREY_F}, {CSize(256, 256), CSize(2048, 2048)});
}

std::vector<StScale> Volumes() {
    return Scales({IMAGE_GREY_8, IMAGE_GREY_F}, {CSize(64, 64, 16), CSize(512, 512, 64)});
}

std::vector<StScale> LabelPlanes(std::initializer_list<IImage::CType> types) {
    std::vector<StScale> scales;
    for (const IImage::CType& type : types) {
        scales.push_back({type, CSize(256, 256), 50});
        scales.push_back({type, CSize(4096, 4096), 5000});
        scales.push_back({type, CSize(4096, 4096), 100000});
    }
    return scales;
}

CCase::CCase(std::string node, std::string variant)
    : m_node(std::move(node)), m_variant(std::move(variant)), m_scales(Planes()),
      m_makeInputs([](const StScale& scale) { return ListOf(Noise(scale.type, scale.size)); }) {}

CCase& CCase::Set(const char* key, bool value) {
    m_parameters.emplace_back([=](CValueMap& map, const CImage&) { map.SetEntry(key, new CValueBool(value)); });
    return *this;
}

CCase& CCase::Set(const char* key, int value) {
    m_parameters.emplace_back([=](CValueMap& map, const CImage&) { map.SetEntry(key, new CValueLong(value)); });
    return *this;
}

CCase& CCase::Set(const char* key, double value) {
    m_parameters.emplace_back([=](CValueMap& map, const CImage&) { map.SetEntry(key, new CValueDouble(value)); });
    return *this;
}

CCase& CCase::Set(const char* key, const char* value) {
    m_parameters.emplace_back([=](CValueMap& map, const CImage&) { map.SetEntry(key, new CValueString(value)); });
    return *this;
}

CCase& CCase::SetShare(const char* key, double share) {
    m_parameters.emplace_back([=](CValueMap& map, const CImage& input) {
        map.SetEntry(key, new CValueLong(static_cast<Long>(share * static_cast<double>(input.Size().x))));
    });
    return *this;
}

CCase& CCase::On(std::vector<StScale> scales) {
    m_scales = std::move(scales);
    return *this;
}

CCase& CCase::Inputs(MakeInputs makeInputs) {
    m_makeInputs = std::move(makeInputs);
    return *this;
}

CCase& CCase::Reads(EnReads reads) {
    m_reads = reads;
    return *this;
}

CCase& CCase::Peer(const char* name, PeerWork work) {
    m_peers.push_back({name, std::move(work)});
    return *this;
}

void CCase::PlaceParameters(CValueMap& parameters, const CImage& firstInput) const {
    for (const Place& place : m_parameters) {
        place(parameters, firstInput);
    }
}

} // namespace QUOR::bench

#pragma once

#include "Pictures.h"

#include <functional>
#include <string>
#include <vector>

namespace QUOR::bench {

/// A type and a size that a case is measured on.
struct StScale {
    IImage::CType type;
    CSize size;
    std::int64_t regions = 0; ///< how many regions a label image has

    /// As in "GREY_8/4096x4096".
    std::string Name() const;
};

/// @name What cases are measured on: each in two sizes, one that the caches hold and one that they don't.
/// @{
std::vector<StScale> Planes(std::initializer_list<IImage::CType> types = {IMAGE_GREY_8, IMAGE_GREY_F});
std::vector<StScale> SmallerPlanes();
std::vector<StScale> Volumes();
std::vector<StScale> LabelPlanes(std::initializer_list<IImage::CType> types);
/// @}

/// How many bytes a node has to read at least.
enum class EnReads { Inputs, AsMuchAsItWrites };

/// A node with its parameters and inputs, and peers that do like work on like data.
class CCase {
public:
    using MakeInputs = std::function<Images(const StScale&)>;
    /// Does the work once on the node's inputs; what it makes is freed again.
    using PeerWork = std::function<void(const Images&)>;

    struct StPeer {
        std::string name;
        PeerWork work;
    };

    /// `variant` tells the cases of one node apart.
    CCase(std::string node, std::string variant);

    /// Places a parameter of the node.
    /// @{
    CCase& Set(const char* key, bool value);
    CCase& Set(const char* key, int value);
    CCase& Set(const char* key, double value);
    CCase& Set(const char* key, const char* value);
    /// @}
    /// A parameter that is `share` times the width of the first input.
    CCase& SetShare(const char* key, double share);
    /// What it is measured on: `Planes()` unless this is called.
    CCase& On(std::vector<StScale> scales);
    /// The inputs in port order: noise on the first port unless this is called.
    CCase& Inputs(MakeInputs makeInputs);
    CCase& Reads(EnReads reads);
    CCase& Peer(const char* name, PeerWork work);
    /// Stands for a peer whose library isn't there.
    CCase& NoPeer() { return *this; }

    std::string Name() const { return m_node + "/" + m_variant; }
    const std::string& Node() const { return m_node; }
    const std::vector<StScale>& Scales() const { return m_scales; }
    const std::vector<StPeer>& Peers() const { return m_peers; }
    EnReads Reads() const { return m_reads; }
    Images InputsFor(const StScale& scale) const { return m_makeInputs(scale); }
    /// Puts the parameters into a map.
    void PlaceParameters(CValueMap& parameters, const CImage& firstInput) const;

private:
    using Place = std::function<void(CValueMap&, const CImage&)>;

    std::string m_node;
    std::string m_variant;
    std::vector<StScale> m_scales;
    std::vector<Place> m_parameters;
    MakeInputs m_makeInputs;
    EnReads m_reads = EnReads::Inputs;
    std::vector<StPeer> m_peers;
};

/// @name The cases of all nodes
/// @{
std::vector<CCase> RegionCases();
std::vector<CCase> GeometryCases();
std::vector<CCase> RestackingCases();
std::vector<CCase> LabelCases();
/// @}

} // namespace QUOR::bench

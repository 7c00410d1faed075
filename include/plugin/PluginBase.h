#pragma once

#include "plugin/PluginObject.h"

namespace QUOR {

/// Base class of plug-ins that measure something, such as a feature of a region, and that are no nodes.
///
/// The caller puts what is to be measured into a map, calls `PrepareFeature` and then `ComputeFeature` with it. The
/// plug-in leaves a vector of floating values in the map under "Features". A region is given as "image-0", the grey
/// values, and "image-mask", 1.0 on the region and 0.0 beside it: two `IMAGE_GREY_F` images of one size.
class VESSA_API CPluginBase : public IPluginObject {
public:
    ~CPluginBase() override;

    /// True for "CPluginBase" and its bases.
    bool TestInterface(const CString& name) override;
    /// Computes the features.
    virtual void ComputeFeature(CValueMap& data) = 0;
    /// The number of features, the length of the vector under "Features".
    virtual int FeatureCount() const = 0;
    /// Checks and prepares what is to be measured. Does nothing by default.
    virtual void PrepareFeature(CValueMap& data);
};

} // namespace QUOR

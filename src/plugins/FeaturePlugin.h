#pragma once

#include "Region.h"
#include "Value/ValueMap.h"
#include "Value/ValueScalar.h"
#include "Value/ValueVector.h"
#include "plugin/PluginBase.h"

#include <memory>
#include <span>
#include <string>

namespace QUOR::shapefeatures {

/// How a feature is told to people.
struct StFeatureText {
    const char* label;
    const char* unit; ///< "1" for a number without one
    const char* definition;
};

/// One row of a table of features, which are all read from one set of measures.
template <class Measures> struct StFeature {
    StFeatureText text;
    double (*value)(const Measures& measures);
};

/// What all feature plug-ins share: their description.
class CFeaturePlugin : public CPluginBase {
public:
    CFeaturePlugin(const char* name, const char* brief) : m_name(name), m_brief(brief) {}

    /// Writes the names, the two images and, as outputs in the order of "Features", each feature with its label, unit
    /// and definition.
    void GetPluginSetup(CValueMap& setup) override;

protected:
    const char* Name() const { return m_name; }

private:
    virtual StFeatureText Text(int index) const = 0;

    const char* m_name;
    const char* m_brief;
};

/// A plug-in that gives some neighbouring rows of a table. `Measures` are made from a region.
template <class Measures> class CFeatures : public CFeaturePlugin {
public:
    using Table = std::span<const StFeature<Measures>>;

    CFeatures(const char* name, const char* brief, Table table) : CFeaturePlugin(name, brief), m_table(table) {}

    int FeatureCount() const override { return static_cast<int>(m_table.size()); }

    void ComputeFeature(CValueMap& data) override {
        const std::string where = std::string("(shapefeatures plugins) ") + Name() + "::ComputeFeature";
        const Measures measures(CRegion(data, where.c_str()));
        auto features = std::make_unique<CValueVector>();
        for (const StFeature<Measures>& feature : m_table) {
            features->PushBack(new CValueDouble(feature.value(measures)));
        }
        data.SetEntry("Features", std::move(features));
    }

private:
    StFeatureText Text(int index) const override { return m_table[static_cast<std::size_t>(index)].text; }

    Table m_table;
};

} // namespace QUOR::shapefeatures

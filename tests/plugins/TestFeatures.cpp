// A plug-in library for the tests of LabelToFeature. Its plug-ins are named for what they leave in the map.

#include "vessa.h"

#include <cstring>
#include <memory>
#include <string>

using namespace QUOR;

namespace {

double SumOf(const CValueMap& data, const char* key) {
    const auto* image = UnwrapPointer<CImage>(static_cast<const CValue*>(data.Entry(key, true)));
    const std::unique_ptr<const IAccess> access(image->CreateAccess());
    double sum = 0.0;
    for (std::int64_t y = 0; y < image->Size().y; ++y) {
        for (std::int64_t x = 0; x < image->Size().x; ++x) {
            sum += access->Get(x, y, 0, 0);
        }
    }
    return sum;
}

const CSize& SizeOf(const CValueMap& data, const char* key) {
    return UnwrapPointer<CImage>(static_cast<const CValue*>(data.Entry(key, true)))->Size();
}

void SetFeatures(CValueMap& data, std::initializer_list<double> features) {
    auto vector = std::make_unique<CValueVector>();
    for (const double feature : features) {
        vector->PushBack(new CValueDouble(feature));
    }
    data.SetEntry("Features", vector.release());
}

/// Base of all: counts the calls, and fails unless a call is prepared with the same map.
class CTestFeature : public CPluginBase {
public:
    int FeatureCount() const override { return 1; }
    void PrepareFeature(CValueMap& data) override { m_prepared = &data; }
    void ComputeFeature(CValueMap& data) override {
        if (m_prepared != &data) {
            throw CException("TestFeatures", "the call wasn't prepared", nullptr);
        }
        m_prepared = nullptr;
        ++m_calls;
        Measure(data);
    }

protected:
    virtual void Measure(CValueMap& data) = 0;
    int Calls() const { return m_calls; }

private:
    const CValueMap* m_prepared = nullptr;
    int m_calls = 0;
};

/// Call number, extents and sums of mask and image, and 1 if both are one image.
class CEverything : public CTestFeature {
    void Measure(CValueMap& data) override {
        const CSize& size = SizeOf(data, "image-mask");
        const bool same = data.Entry("image-0", true)->VoidPointer() == data.Entry("image-mask", true)->VoidPointer();
        const bool sameSize = SizeOf(data, "image-0") == size;
        SetFeatures(data, {static_cast<double>(Calls()), static_cast<double>(size.x), static_cast<double>(size.y),
                           SumOf(data, "image-mask"), SumOf(data, "image-0"), same ? 1.0 : 0.0, sameSize ? 1.0 : 0.0,
                           static_cast<double>(size.z)});
    }
};

class CNothing : public CTestFeature {
    void Measure(CValueMap& /*data*/) override {}
};

class CEmptyVector : public CTestFeature {
    void Measure(CValueMap& data) override { SetFeatures(data, {}); }
};

/// Leaves 7.5 on the first call and nothing later.
class COnlyOnce : public CTestFeature {
    void Measure(CValueMap& data) override {
        if (Calls() == 1) {
            SetFeatures(data, {7.5});
        }
    }
};

/// The label that comes after the call: 2 for the first record, and so on.
class CNextLabel : public CTestFeature {
    void Measure(CValueMap& data) override { SetFeatures(data, {Calls() + 1.0}); }
};

class CAnInteger : public CTestFeature {
    void Measure(CValueMap& data) override {
        auto vector = std::make_unique<CValueVector>();
        vector->PushBack(new CValueLong(42));
        data.SetEntry("Features", vector.release());
    }
};

/// Fails on the second call.
class CAFailure : public CTestFeature {
    void Measure(CValueMap& data) override {
        if (Calls() == 2) {
            throw CException("TestFeatures", "no more", nullptr);
        }
        SetFeatures(data, {1.0});
    }
};

/// No feature plug-in: an object of another class.
class CNoFeature : public IPluginObject {};

struct StPlugin {
    const char* name;
    IPluginObject* (*create)();
};

template <class Plugin> IPluginObject* Create() { return new Plugin; }

const StPlugin kPlugins[] = {{"Everything", &Create<CEverything>},   {"Nothing", &Create<CNothing>},
                             {"EmptyVector", &Create<CEmptyVector>}, {"OnlyOnce", &Create<COnlyOnce>},
                             {"NextLabel", &Create<CNextLabel>},     {"AnInteger", &Create<CAnInteger>},
                             {"AFailure", &Create<CAFailure>},       {"NoFeature", &Create<CNoFeature>}};

} // namespace

#define TEST_EXPORT extern "C" __attribute__((visibility("default")))

TEST_EXPORT IPluginObject* CreatePluginInstanceEx(const char* name) {
    for (const StPlugin& plugin : kPlugins) {
        if (std::strcmp(plugin.name, name) == 0) {
            return plugin.create();
        }
    }
    return nullptr;
}

TEST_EXPORT CValueVector* ListPlugins() {
    auto names = std::make_unique<CValueVector>();
    for (const StPlugin& plugin : kPlugins) {
        names->PushBack(new CValueString(CString(plugin.name)));
    }
    return names.release();
}

TEST_EXPORT std::int64_t get_loading_timestamp() { return 0; }

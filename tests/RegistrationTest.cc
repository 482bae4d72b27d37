// The real plug-in, loaded as a host loads it.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "host/Feature.h"
#include "host/Registry.h"
#include "tests/support/TestHost.h"

namespace {

using FeatureRegistry = RegistryBase<Feature, FeatureInfo>;

Feature* otherFactory(FeatureInfo /*info*/) {
    return nullptr;
}

void* loadPlugin() {
    void* plugin = dlopen(KESTREL_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    EXPECT_NE(plugin, nullptr) << dlerror();
    return plugin;
}

TEST(RegistrationTest, MakesTheClassListAndEntersTheFactory) {
    ASSERT_EQ(FeatureRegistry::classList, nullptr);
    loadPlugin();
    ASSERT_NE(FeatureRegistry::classList, nullptr);
    EXPECT_EQ(FeatureRegistry::classList->size(), 1U);
    EXPECT_EQ(FeatureRegistry::classList->max_load_factor(), 1.0F);
    EXPECT_EQ(FeatureRegistry::classList->count("KestrelStarts"), 1U);
    // A library that is loaded already does not register again.
    EXPECT_EQ(loadPlugin(), loadPlugin());
    EXPECT_EQ(FeatureRegistry::classList->size(), 1U);
}

TEST(RegistrationTest, ANameThatIsTakenStaysTheFirstOnes) {
    FeatureRegistry::classList = new FeatureRegistry::ClassList{{"KestrelStarts", otherFactory}};
    loadPlugin();
    EXPECT_EQ(FeatureRegistry::classList->size(), 1U);
    EXPECT_EQ(FeatureRegistry::classList->at("KestrelStarts"), &otherFactory);
}

TEST(RegistrationTest, TheFactorysFeatureIsDrivenThroughItsBase) {
    TestHost host(HostSetup{.knobs = std::nullopt});
    loadPlugin();
    FeatureInfo info;
    info.featureName = "Mine";
    std::unique_ptr<Feature> feature(FeatureRegistry::classList->at("KestrelStarts")(info));
    ASSERT_NE(feature, nullptr);
    EXPECT_EQ(feature->mMajorVersion, 1);
    EXPECT_EQ(feature->mMinorVersion, 0);
    EXPECT_NE(feature->mMetaMeter, nullptr);
    EXPECT_EQ(feature->mMetaMeter->getSyncData({}), 0);
    featureData data;
    std::string app = "com.a";
    EXPECT_EQ(feature->getData(app, data, 3, 4), 0);
    EXPECT_EQ(data.value, -1);
    std::vector<int> values = {1};
    EXPECT_EQ(feature->getData(0, nullptr), 0);
    EXPECT_EQ(feature->setData(app, values), 0);
    EXPECT_EQ(feature->setData(1, values), 0);
    // Other features ask it through the locator.
    HostRuntime::instance().setFeature("KestrelStarts", feature.get());
    FeatureLocator* locator = HostRuntime::instance().locator();
    ASSERT_NE(locator, nullptr);
    std::string name = "KestrelStarts";
    EXPECT_EQ(locator->getData(name, app, data, 5), 0);
    EXPECT_EQ(data.value, 1);
    name = "Nobody";
    EXPECT_EQ(locator->getData(name, app, data, 5), -1);
    feature.reset();
    EXPECT_TRUE(std::filesystem::exists(host.databaseDirectory() / "Mine.db"));
    EXPECT_TRUE(std::filesystem::exists(host.databaseDirectory() / "MineState.db"));
}

}  // namespace

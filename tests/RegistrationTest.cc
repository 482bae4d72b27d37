// The real plug-in, loaded as a host loads it.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "host/Feature.h"
#include "host/Registry.h"
#include "tests/support/TestHost.h"

namespace kestrel {

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

}  // namespace

}  // namespace kestrel

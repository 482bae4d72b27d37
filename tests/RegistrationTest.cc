// The real plug-in, loaded as a host loads it.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>

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

// What the process holds: open files, mapped ranges, and bytes of the heap, which a sanitizer
// counts as none.
struct Holdings {
    static Holdings now() {
        std::ifstream maps("/proc/self/maps");
        return {std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}),
                std::count(std::istreambuf_iterator<char>(maps), {}, '\n'), mallinfo2().uordblks};
    }

    std::ptrdiff_t files;
    std::ptrdiff_t ranges;
    std::size_t heapBytes;
};

TEST(RegistrationTest, LoadedAndClosedAgainAndAgainItLeaksNothingAndStaysValid) {
    TestHost host;
    void* knobs = dlopen(KESTREL_KNOB_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(knobs, nullptr) << dlerror();
    // On a thread of its own, with which the heap's cache of freed memory ends, as it counts as
    // used.
    const auto loadUseAndClose = [&host] {
        std::thread([] {
            void* plugin = loadPlugin();
            delete FeatureRegistry::classList->at("KestrelStarts")({});
            dlclose(plugin);
            // The registry's entry leads to the plug-in also while nobody holds it open.
            EXPECT_EQ(FeatureRegistry::classList->size(), 1U);
            delete FeatureRegistry::classList->at("KestrelStarts")({});
        }).join();
        host.takeLog();
    };
    loadUseAndClose();  // what is made once has been made
    const Holdings before = Holdings::now();
    constexpr std::size_t ROUNDS = 100;
    for (std::size_t round = 0; round < ROUNDS; ++round) {
        loadUseAndClose();
    }
    const Holdings after = Holdings::now();
    EXPECT_EQ(after.files, before.files);
    EXPECT_LT(after.ranges, before.ranges + 10);  // threads come and go
    // Not a byte more a round than the smallest allocation.
    EXPECT_LT(after.heapBytes, before.heapBytes + ROUNDS * 16);
    // Nobody else holds the knob library.
    dlclose(knobs);
    EXPECT_EQ(dlopen(KESTREL_KNOB_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr);
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
    featureData data;
    std::string app = "com.a";
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

}  // namespace kestrel

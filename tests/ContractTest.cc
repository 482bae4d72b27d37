// The binary contract of the real plug-in, as a host depends on it that was built elsewhere: by
// offsets, by slots and by the bytes of files, not by names. It holds on every machine type.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <memory>

#include "action/mpctl_msg.h"
#include "host/DynamicLoader.h"
#include "host/Feature.h"
#include "host/Registry.h"
#include "learning/LearningRecords.h"
#include "tests/support/DatabaseFile.h"
#include "tests/support/EventImage.h"
#include "tests/support/TestHost.h"

namespace kestrel {

namespace {

using FeatureRegistry = RegistryBase<Feature, FeatureInfo>;

// Calls a virtual operation by its slot. What is passed by value and is not trivial goes by its
// address.
template <class Result, class... Args>
__attribute__((no_sanitize("function"))) Result callSlot(void* object, std::size_t slot,
                                                         Args... args) {
    void* const* table = *static_cast<void***>(object);
    return reinterpret_cast<Result (*)(void*, Args...)>(table[slot])(object, args...);
}

class ContractTest : public testing::Test {
 public:
    ContractTest() {
        EXPECT_NE(dlopen(KESTREL_KNOB_LIBRARY, RTLD_NOW | RTLD_LOCAL), nullptr) << dlerror();
        mPlugin = dlopen(KESTREL_PLUGIN, RTLD_NOW | RTLD_LOCAL);
        EXPECT_NE(mPlugin, nullptr) << dlerror();
    }

    ~ContractTest() override {
        if (mFeature != nullptr) {
            callSlot<void>(mFeature, 1);
        }
    }

    void start(FeatureInfo info = {.featureName = "KestrelStarts"}) {
        mFeature = FeatureRegistry::classList->at("KestrelStarts")(std::move(info));
        ASSERT_NE(mFeature, nullptr);
        mHost.takeLog();
    }

    void deliver(EventImage event, int64_t t = 0) {
        HostRuntime::instance().setTime(t);
        callSlot<void>(mFeature, 2, event.data());
        mFeature->mMetaMeter->handOverFinishedRuns();
    }

    // A launch of `app` that takes 420 ms, after which another app comes forward.
    void launchAndLeave(const std::string& app) {
        deliver({app, 4225, 1}, 1000);
        deliver({app, 4103, 0}, 1420);
        deliver({"com.other", 4097, 0}, 2000);
    }

    // The payloads that a database of the device holds, as hexadecimal digits, in the order of
    // rows.
    static Lines blobs(const std::string& file, const std::string& table) {
        return database(file).run("SELECT hex(blob) FROM " + table + " ORDER BY rowid");
    }

    static DatabaseFile database(const std::string& file) {
        return DatabaseFile("/data/vendor/lm/" + file);
    }

    TestHost mHost;
    void* mPlugin = nullptr;
    Feature* mFeature = nullptr;
};

TEST_F(ContractTest, AnEventIsReadAtItsOffsets) {
    start({.featureName = "KestrelStarts", .ignoredApps = {"com.ignored"}});
    const std::string longName = "com.some.quite.long.company.name/.MainActivity";
    for (const std::string& app : {std::string("com.a/.Main"), longName}) {
        SCOPED_TRACE(app);
        EventImage launch(app, 4225, 1);
        launch.put<int32_t>(32, 77);  // overwritten before the meter gets it
        launch.put<int32_t>(60, 2);
        launch.put<int32_t>(64, -12345);
        deliver(launch);
        const auto boosts = mHost.records<record::HintAcqRel>();
        ASSERT_EQ(boosts.size(), 1U);
        EXPECT_EQ(boosts[0].app, app);
        EXPECT_EQ(boosts[0].args, (std::array<int, 2>{2, -12345}));
        const auto launches = mHost.records<record::Hint>();
        ASSERT_EQ(launches.size(), 1U);
        EXPECT_EQ(launches[0].hintType, 9);
        const auto metered = mHost.records<record::Meter>();
        ASSERT_EQ(metered.size(), 1U);
        EXPECT_EQ(metered[0].hintArg, 15100);
        EXPECT_EQ(metered[0].appName, app);
        deliver({"com.ignored", 4097, 0});
        EXPECT_EQ(mHost.records<record::Release>().size(), 0U);
        deliver({"com.other", 4097, 0});
        EXPECT_GT(mHost.records<record::Release>().size(), 0U);
        mHost.takeLog();
    }
}

TEST_F(ContractTest, VersionsAreComparedWithTheirSigns) {
    start();
    const struct {
        const char* name;
        int16_t featureVersion;
        uint16_t dataVersion;
        bool accepted;
    } cases[] = {
        {"as built", 1, 112, true},
        {"older", 0, 112, true},
        {"far below", INT16_MIN, 112, true},
        {"newer", 2, 112, false},
        {"far above", INT16_MAX, 112, false},
        {"other data", 1, 111, false},
        {"other data in the high byte", 1, 0x0170, false},
        {"data with the highest bit", 1, 0x8070, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EventImage launch("com.a", 4225, 1);
        launch.put(72, c.featureVersion);
        launch.put(74, c.dataVersion);
        deliver(launch);
        EXPECT_EQ(mHost.records<record::Hint>().size(), c.accepted ? 1U : 0U);
        deliver({"", 4160, 0});
        mHost.takeLog();
    }
}

// The type's highest byte decides, which as a signed character would be negative.
TEST_F(ContractTest, ARemovalKeepsTheDataWhenTheHighestByteOfItsTypeIsSet) {
    start();
    const std::string app =
        "com.\xc3\xa9t\xc3\xa9.\xff";  // bytes that are negative where char is signed
    launchAndLeave(app);
    ASSERT_EQ(blobs("KestrelStarts.db", "KestrelStarts").size(), 1U);
    for (const int32_t kept : {0x01000000, INT32_MIN, -1}) {
        deliver({app, 4164, kept});
        EXPECT_EQ(blobs("KestrelStarts.db", "KestrelStarts").size(), 1U) << kept;
    }
    deliver({app, 4164, 0x00FFFFFF});
    EXPECT_EQ(blobs("KestrelStarts.db", "KestrelStarts").size(), 0U);
}

TEST_F(ContractTest, RecordsAreTheBytesInTheFiles) {
    start();
    launchAndLeave("com.a");
    EXPECT_EQ(blobs("KestrelStarts.db", "KestrelStarts"), Lines{"A401000000000000"});  // 420 ms
    for (int i = 1; i <= 5; ++i) {
        launchAndLeave("com.a");
    }
    EXPECT_EQ(blobs("KestrelStartsState.db", "app_state"), Lines{"04000000"});
    const std::string unused(1024, '0');
    EXPECT_EQ(mHost.records<record::Hint>().back().duration, 750);  // 02EE
    EXPECT_EQ(blobs("KestrelStartsAction.db", "output_table"),
              Lines{"0000000008000000EE02000000000000" + unused + "0000000000000000"});

    // What another program put there is read, counted on and otherwise kept.
    const std::string foreign(1024, 'C');
    database("KestrelStartsAction.db")
        .run("UPDATE output_table SET blob = x'78563412FF000000D2040000EFBEADDE" + foreign +
             "2900000000000000'");
    launchAndLeave("com.a");
    EXPECT_EQ(mHost.records<record::Hint>().back().duration, 1234);
    EXPECT_EQ(blobs("KestrelStartsAction.db", "output_table"),
              Lines{"78563412FF000000D2040000EFBEADDE" + foreign + "2A00000000000000"});
}

// Left by writes that failed, by another program, and by a crash between two states.
TEST_F(ContractTest, TheNewestStateCounts) {
    start();
    callSlot<void>(std::exchange(mFeature, nullptr), 1);
    database("KestrelStartsState.db")
        .run(
            "INSERT INTO app_state(rowid, appName, blob) VALUES (1, 'com.a', x'01000000'),"
            " (2, 'com.a', x'63000000'), (9223372036854775807, 'com.a', x'04000000'),"
            " (3, 'com.short', x'01'), (4, 'com.long', x'0500000000'), (5, 'com.two', "
            "x'02000000')");
    start();
    FeatureState& states = mFeature->mFeatureState;
    EXPECT_EQ(states.readState("com.a"), APP_STATE_LEARNED);
    states.writeState("com.a", APP_STATE_DISABLED);
    EXPECT_EQ(states.readState("com.a"), APP_STATE_DISABLED);
    EXPECT_EQ(states.readState("com.short"), APP_STATE_LEARNING);
    EXPECT_EQ(states.readState("com.long"), APP_STATE_LEARNING);
    EXPECT_EQ(states.readState("com.two"), APP_STATE_EVALUATED);
    EXPECT_EQ(database("KestrelStartsState.db")
                  .run("SELECT rowid, hex(blob) FROM app_state WHERE appName = 'com.a'"),
              Lines{"6|63000000"});
    EXPECT_EQ(mHost.records<record::Log>().size(), 0U);
}

struct RowNumber {
    const char* name;
    const char* number;
    const char* kept;  // what the row is numbered then

    friend void PrintTo(const RowNumber& row, std::ostream* out) { *out << row.number; }
};

// Each in a process of its own: the plug-in's singleton stays with the first feature.
class RowNumberTest : public ContractTest, public testing::WithParamInterface<RowNumber> {};

// Rows that the store cannot change, and above which it could not change new ones either.
TEST_P(RowNumberTest, StandsInNobodysWay) {
    start();
    callSlot<void>(std::exchange(mFeature, nullptr), 1);
    database("KestrelStartsState.db")
        .run(std::string("INSERT INTO app_state(rowid, appName, blob) VALUES (") +
             GetParam().number + ", 'com.x', x'63000000')");
    start({.featureName = "KestrelStarts", .disabledApps = {"com.off"}});
    for (int i = 1; i <= 12; ++i) {
        launchAndLeave("com.a");
        launchAndLeave("com.off");
    }
    EXPECT_EQ(mHost.records<record::Measured>().size(), 5U);
    EXPECT_EQ(mFeature->mFeatureState.readState("com.x"), APP_STATE_DISABLED);
    EXPECT_EQ(database("KestrelStartsState.db")
                  .run("SELECT appName, hex(blob) FROM app_state ORDER BY rowid"),
              (Lines{"com.x|63000000", "com.off|63000000", "com.a|04000000"}));
    EXPECT_EQ(database("KestrelStartsState.db").run("SELECT MIN(rowid) FROM app_state"),
              Lines{GetParam().kept});
}

const RowNumber ROW_NUMBERS[] = {{"Usual", "1000", "1000"},
                                 {"Last", "2147483647", "1"},
                                 {"LastButOne", "2147483646", "1"},
                                 {"Beyond", "5000000000", "1"},
                                 {"SQLitesLast", "9223372036854775807", "1"},
                                 {"None", "0", "1"},
                                 {"Negative", "-1", "-1"}};

INSTANTIATE_TEST_SUITE_P(Numbers, RowNumberTest, testing::ValuesIn(ROW_NUMBERS),
                         [](const auto& info) { return info.param.name; });

TEST_F(ContractTest, AFeedbackMessageIsAnsweredInItsDurationOnly) {
    const auto feedback = reinterpret_cast<int (*)(mpctl_msg_t*)>(
        dlsym(mPlugin, "_ZN19KestrelStartsAction10FeedbackCBEP11mpctl_msg_t"));
    ASSERT_NE(feedback, nullptr);
    start();
    for (int i = 1; i <= 6; ++i) {
        launchAndLeave("com.a");
    }
    constexpr std::size_t SIZE = 1440;
    alignas(8) std::array<char, SIZE + 64> message;
    message.fill('\x5A');
    const uint32_t hintId = 4225;
    std::memcpy(&message[1184], &hintId, sizeof(hintId));
    std::memcpy(&message[1200], "com.a", 6);
    auto answered = message;
    EXPECT_EQ(feedback(reinterpret_cast<mpctl_msg_t*>(answered.data())), 0);
    const int32_t durationMs = 750;
    std::memcpy(&message[12], &durationMs, sizeof(durationMs));
    EXPECT_EQ(answered, message);
}

// How many files of that name the process has open.
std::ptrdiff_t openFiles(const std::string& name) {
    std::ptrdiff_t count = 0;
    for (const auto& file : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        count += std::filesystem::read_symlink(file, gone).filename() == name ? 1 : 0;
    }
    return count;
}

TEST_F(ContractTest, TheFeatureIsDrivenBySlots) {
    start();
    EXPECT_GT(openFiles("KestrelStarts.db"), 0);
    EXPECT_GT(openFiles("KestrelStartsState.db"), 0);
    const std::atomic<bool> stop{false};
    callSlot<void>(mFeature, 3, &stop);
    callSlot<void>(mFeature, 4, &stop);
    std::string app = "com.a";
    featureData data;
    std::vector<int> values = {1, 2};
    EXPECT_EQ(callSlot<int>(mFeature, 5, 1, static_cast<char**>(nullptr)), 0);
    deliver({app, 4225, 1});
    EXPECT_EQ(mHost.records<record::Hint>().size(), 1U);
    EXPECT_EQ(callSlot<int>(mFeature, 6, &app, &data, 5), 0);
    EXPECT_EQ(data.value, 1);  // a process id at least
    EXPECT_EQ(callSlot<int>(mFeature, 7, &app, &data, 3, 4), 0);
    EXPECT_EQ(data.value, -1);
    EXPECT_EQ(callSlot<int>(mFeature, 8, &app, &values), 0);
    EXPECT_EQ(callSlot<int>(mFeature, 9, 1, &values), 0);
    EXPECT_EQ(values, (std::vector<int>{1, 2}));
    EXPECT_EQ(app, "com.a");
    // The first slot ends the object and leaves its memory.
    callSlot<void>(mFeature, 0);
    EXPECT_EQ(openFiles("KestrelStarts.db"), 0);
    EXPECT_EQ(openFiles("KestrelStartsState.db"), 0);
    ::operator delete(std::exchange(mFeature, nullptr));
}

// What the plug-in overrides and what it leaves to the host, told by the tables themselves.
TEST_F(ContractTest, TheFeatureOverridesItsSlotsAndNoOthers) {
    start();
    Feature base(FeatureInfo{.featureName = "Base"});
    void* const* own = *reinterpret_cast<void***>(mFeature);
    void* const* hosts = *reinterpret_cast<void***>(&base);
    for (const std::size_t slot : {0U, 1U, 2U, 3U, 6U}) {
        EXPECT_NE(own[slot], hosts[slot]) << slot;
    }
    for (const std::size_t slot : {4U, 5U, 7U, 8U, 9U}) {
        EXPECT_EQ(own[slot], hosts[slot]) << slot;
    }
}

TEST_F(ContractTest, TheMetaMeterIsDrivenBySlots) {
    for (const std::size_t destructor : {0U, 1U}) {
        start();
        std::vector<Meter*> none;
        EXPECT_EQ(callSlot<int>(mFeature->mMetaMeter, 2, &none), 0);
        EXPECT_EQ(mHost.takeLog().size(), 1U);  // nothing to store, it says
        EXPECT_EQ(callSlot<int>(mFeature->mMetaMeter, 3, &none), 0);
        MetaMeter* meter = std::exchange(mFeature->mMetaMeter, nullptr);
        callSlot<void>(meter, destructor);
        if (destructor == 0) {
            ::operator delete(meter);
        }
        callSlot<void>(std::exchange(mFeature, nullptr), 1);
    }
}

std::vector<std::string> gCalls;

// The service's members are found by their places alone; a call through any other ends the test.
TEST_F(ContractTest, TheServicesEntryPointsAreTheirPlacesInTheLoader) {
    void** loader = reinterpret_cast<void**>(&DynamicLoader::getInstance());
    for (std::size_t i = 0; i < 11; ++i) {
        loader[i] = reinterpret_cast<void*>(+[] { std::abort(); });
    }
    loader[5] = reinterpret_cast<void*>(+[](int handle) {
        gCalls.push_back("release " + std::to_string(handle));
        return 0;
    });
    loader[7] = reinterpret_cast<void*>(
        +[](const char* name, char* buffer, std::size_t size, const char* defaultText) {
            const bool apps = std::string_view(name) == "ro.vendor.perf.kap";
            std::snprintf(buffer, size, "%s", apps ? "true" : defaultText);
        });
    loader[8] = reinterpret_cast<void*>(+[](int hintId, const char* app, int duration, int type) {
        gCalls.push_back("hint " + std::to_string(hintId) + " " + app + " " +
                         std::to_string(duration) + " " + std::to_string(type));
        return 8;
    });
    loader[10] = reinterpret_cast<void*>(
        +[](int handle, int hintId, const char* app, int duration, int type, int count, int* args) {
            gCalls.push_back("replace " + std::to_string(handle) + " " + std::to_string(hintId) +
                             " " + app + " " + std::to_string(duration) + " " +
                             std::to_string(type) + " " + std::to_string(count) + " " +
                             std::to_string(args[0]) + " " + std::to_string(args[1]));
            return 10;
        });
    start();
    EventImage launch("com.a", 4225, 1);
    launch.put<int32_t>(64, 64);
    deliver(launch);
    deliver({"com.b", 4097, 0});
    EXPECT_EQ(gCalls, (Lines{"replace -1 4225 com.a 2000 7 2 0 64", "hint 4225 com.a 15000 8",
                             "release 10", "release -1", "release 8"}));
}

}  // namespace

}  // namespace kestrel

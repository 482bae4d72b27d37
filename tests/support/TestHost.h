#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "host/linux/HostRuntime.h"
#include "host/linux/PlatformServices.h"
#include "host/linux/RelocatingVfs.h"
#include "tools/base/TemporaryDirectory.h"

namespace kestrel {

// A platform for code that is linked into the test: a root of its own, and every record kept.
// Ownership: borrowed by whatever it hosts, which must end first.
class TestHost {
 public:
    explicit TestHost(const HostSetup& setup = {}) {
        std::filesystem::create_directories(databaseDirectory());
        std::filesystem::current_path(mRoot.path());
        RelocatingVfs::install(mRoot.path().string(), false);
        connectPerformanceService(setup.absent);
        HostRuntime::instance().configure(
            setup, [this](const HostRecord& entry) { mRecords.push_back(entry); });
    }
    ~TestHost() { HostRuntime::instance().configure({}, {}); }
    TestHost(const TestHost&) = delete;
    TestHost& operator=(const TestHost&) = delete;

    std::filesystem::path databaseDirectory() const { return mRoot.path() / "data/vendor/lm"; }

    // The records of one kind so far.
    template <class Record>
    std::vector<Record> records() const {
        std::vector<Record> found;
        for (const HostRecord& entry : mRecords) {
            if (const auto* record = std::get_if<Record>(&entry.what)) {
                found.push_back(*record);
            }
        }
        return found;
    }

    // The log lines since the last call.
    std::vector<std::string> takeLog() {
        std::vector<std::string> lines;
        for (record::Log& line : records<record::Log>()) {
            lines.push_back(std::move(line.text));
        }
        mRecords.clear();
        return lines;
    }

 private:
    TemporaryDirectory mRoot;
    std::vector<HostRecord> mRecords;  // the runtime passes on one at a time
};

using Lines = std::vector<std::string>;

}  // namespace kestrel

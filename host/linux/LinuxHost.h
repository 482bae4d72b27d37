#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "host/Feature.h"
#include "host/LmApi.h"
#include "host/linux/HostRecord.h"
#include "host/linux/HostSetup.h"
#include "host/linux/RootLock.h"

namespace kestrel {

// The service around the plug-in: loads it as the device's service does, constructs the feature and
// delivers events to it. One process is one life of it, because the plug-in's singleton lives as
// long as the process.
// Threads: used from one thread, which is the event worker: handing each event to another one would
//          cost as much as the event. The feature's construction and destruction, queries and
//          feedback calls each run on a thread of their own; every call returns when its work is
//          done.
// Errors:  throws std::runtime_error saying what failed, and passes on what the plug-in throws.
class LM_API LinuxHost {
 public:
    struct Options {
        std::filesystem::path root;  // what the plug-in sees as "/"; made when it is not there
        bool sync = true;            // false: SQLite's flushing to the disk is left out
        std::string plugin = "libkestrelstarts.so";  // a name is looked for beside this library
        std::string knobLibrary = "libskewknob.so";
    };

    // Sets up the platform; the process's working directory becomes the root. A root is one host's
    // at a time: when another one runs on it, this throws before it has changed anything.
    LinuxHost(HostSetup setup, const Options& options, RecordSink sink);
    ~LinuxHost();
    LinuxHost(const LinuxHost&) = delete;
    LinuxHost& operator=(const LinuxHost&) = delete;

    // Loads the plug-in and constructs the feature. `t`, here and below, is the clock in ms.
    void start(int64_t t);
    void deliver(int64_t t, std::size_t line, AsyncTriggerPayload payload);
    void query(int64_t t, std::size_t line, const std::string& app, int32_t type);
    void feedback(int64_t t, std::size_t line, int32_t hintId, int32_t hintType,
                  const std::string& app);
    // Nothing more is delivered: a launch that has drawn its first frame has been measured.
    void endInput();
    // Deletes the feature. The database files are then complete, unless somebody reads them.
    void stop();

    // REQUIRES: here and below, between start and stop.
    Feature& feature() { return *mFeature; }

    // "MAJOR.MINOR"
    std::string featureVersion() const;

    // The root as an absolute path without links.
    const std::filesystem::path& root() const { return mOptions.root; }

 private:
    Options mOptions;
    RootLock mLock;
    void* mPlugin = nullptr;  // stays loaded: its singleton lives as long as the process
    std::unique_ptr<Feature> mFeature;
};

}  // namespace kestrel

#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <unordered_set>
#include <utility>

#include "host/FeatureLocator.h"
#include "host/LmApi.h"
#include "host/linux/HostRecord.h"
#include "host/linux/HostSetup.h"

class Feature;

namespace kestrel {

// The platform behind the contract's entry points: the set-up that they answer from, the clock, the
// performance service's handles, and the recorder. There is one per process, as there is one
// platform per device; it outlives everything else, because the plug-in's singleton does too.
// Threads: configure, setTime and setFeature while nothing else runs; the rest from any thread.
//          Records are passed on one at a time.
class LM_API HostRuntime {
 public:
    static HostRuntime& instance();

    // Starts a fresh platform. Until the first call the platform has its default set-up and log
    // lines go to standard error.
    void configure(HostSetup setup, RecordSink sink);

    const HostSetup& setup() const { return mSetup; }

    // The host's only clock, in ms.
    int64_t time() const { return mTime; }
    void setTime(int64_t t) { mTime = t; }

    template <class Record>
    void record(Record&& what) {
        pass({mTime, std::forward<Record>(what)});
    }

    // Null when the platform has none.
    FeatureLocator* locator();

    // The features that queries are routed to; a null feature takes the name back.
    void setFeature(const std::string& name, Feature* feature);
    Feature* findFeature(const std::string& name) const;

    // ---- the performance service
    // The next handle, replacing `old`; -1 when `failing` names this entry point.
    int acquire(const char* entryPoint, int old);
    bool release(int handle);

 private:
    void pass(const HostRecord& entry);

    HostSetup mSetup;
    RecordSink mSink;
    std::mutex mSinkMutex;  // one record at a time
    int64_t mTime = 0;
    FeatureLocator mLocator;
    std::map<std::string, Feature*> mFeatures;  // the host's
    std::mutex mHandlesMutex;
    int mLastHandle = 0;
    std::unordered_set<int> mHandles;  // requested, and neither released nor replaced
};

}  // namespace kestrel

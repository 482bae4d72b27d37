#include "tools/input/JsonKind.h"

#include <array>

#include "tools/base/InputError.h"
#include "tools/base/JsonStream.h"
#include "tools/base/MemorySource.h"

namespace kestrel {

namespace {

enum Place : int { root = JsonListener::KS_ROOT, ofExport, ofBenchmark, context, ofTrace };

constexpr std::array<JsonStep, 6> KS_STEPS{{{root, "logcatMessages", ofExport},
                                            {root, "metadata", ofExport},
                                            {root, "benchmarks", ofBenchmark},
                                            {root, "context", context},
                                            {root, "t", ofTrace},
                                            {root, "host", ofTrace}}};

// The first key that decides does.
class KindListener : public JsonListener {
 public:
    void begin(int place) override { meet(place); }
    void scalar(int place, const JsonScalar& /*value*/, std::size_t /*line*/) override {
        meet(place);
    }

    JsonKind kind() const {
        if (mPlace == ofExport) {
            return JsonKind::logExport;
        }
        const bool isBenchmark = mPlace == ofBenchmark || mPlace == context;
        return isBenchmark ? JsonKind::benchmark : JsonKind::trace;
    }

 private:
    void meet(int place) {
        if (mPlace == root || mPlace == context) {
            mPlace = place == root ? mPlace : place;
        }
    }

    int mPlace = root;  // root: nothing was decided yet; context: unless something else comes
};

}  // namespace

JsonKind jsonKindOf(std::string_view beginning) {
    MemorySource source("", beginning.substr(0, KS_JSON_KIND_SIZE));
    KindListener listener;
    try {
        readJson(source, KS_STEPS, listener);
    } catch (const InputError&) {
        // The beginning ends in the middle, or another object follows: what came before counts.
        return listener.kind();
    }
    return listener.kind();
}

}  // namespace kestrel

// Any bytes as a Perfetto trace and as text of ftrace, in small blocks.

#include <string>
#include <string_view>

#include "fuzz/FuzzHost.h"
#include "tools/base/ByteSource.h"
#include "tools/base/InputError.h"
#include "tools/input/perfetto/FtraceText.h"
#include "tools/input/perfetto/PerfettoTrace.h"

using namespace kestrel;

namespace {

class Blocks : public ByteSource {
 public:
    Blocks(std::string_view bytes, std::size_t size) : mBytes(bytes), mSize(size) {}

    const std::string& name() const override { return mName; }
    std::string_view read() override {
        const std::string_view block = mBytes.substr(0, mSize);
        mBytes.remove_prefix(block.size());
        return block;
    }

 private:
    std::string mName = "fuzz";
    std::string_view mBytes;
    std::size_t mSize;
};

// Whatever is read, time never goes back.
void readBy(ImportedInput (&read)(ByteSource&), std::string_view bytes) noexcept {
    Blocks source(bytes, bytes.size() % 64 + 1);
    try {
        int64_t latest = 0;
        for (const TraceObject& object : read(source).objects) {
            if (object.t < latest || object.line == 0) {
                __builtin_trap();
            }
            latest = object.t;
        }
    } catch (const InputError&) {
        return;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    looksLikePerfettoTrace(bytes);
    looksLikeFtrace(bytes);
    readBy(readPerfettoTrace, bytes);
    readBy(readFtrace, bytes);
    return 0;
}

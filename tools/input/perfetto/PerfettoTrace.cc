#include "tools/input/perfetto/PerfettoTrace.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "tools/base/InputError.h"
#include "tools/input/AndroidRelease.h"
#include "tools/input/perfetto/ByteCursor.h"
#include "tools/input/perfetto/FtraceBundle.h"
#include "tools/input/perfetto/InflatedBytes.h"
#include "tools/input/perfetto/LaunchImport.h"
#include "tools/input/perfetto/LaunchMark.h"
#include "tools/input/perfetto/LoggedSwitches.h"
#include "tools/input/perfetto/ProtobufReader.h"

namespace kestrel {

namespace {

// The field of a trace.
constexpr uint64_t KS_PACKET = 1;
constexpr char KS_PACKET_TAG = 0x0A;

// Fields of a packet; all others are skipped.
constexpr uint64_t KS_FTRACE_EVENTS = 1;
constexpr uint64_t KS_CLOCK_SNAPSHOT = 6;
constexpr uint64_t KS_ANDROID_LOG = 39;
constexpr uint64_t KS_SYSTEM_INFO = 45;
constexpr uint64_t KS_COMPRESSED = 50;
constexpr uint64_t KS_ZSTD_COMPRESSED = 133;

// Of system_info.
constexpr uint64_t KS_API_LEVEL = 5;

// More than there will be.
constexpr uint64_t KS_API_LEVELS = 1000;

// A field is in memory as a whole; recorders write some 100 KB.
constexpr uint64_t KS_MAX_FIELD = uint64_t{64} << 20;

bool isWanted(uint64_t field) {
    return field == KS_FTRACE_EVENTS || field == KS_CLOCK_SNAPSHOT || field == KS_ANDROID_LOG ||
           field == KS_SYSTEM_INFO || field == KS_COMPRESSED || field == KS_ZSTD_COMPRESSED;
}

// Passes over a field behind its tag.
bool skipField(ByteCursor& cursor, WireType type) {
    switch (type) {
        case WireType::varint:
            return cursor.takeVarint().has_value();
        case WireType::fixed64:
            return cursor.skip(8);
        case WireType::fixed32:
            return cursor.skip(4);
        case WireType::bytes:
            break;
    }
    const auto size = cursor.takeVarint();
    return size && cursor.skip(*size);
}

std::optional<FieldTag> takeTag(ByteCursor& cursor) {
    const auto tag = cursor.takeVarint();
    return tag ? fieldTagOf(*tag) : std::nullopt;
}

class TraceReader {
 public:
    // A whole trace.
    void read(ByteSource& source);

    ImportedInput take(const std::string& name) &&;

 private:
    enum class Depth { trace, compressedPacket };

    // What a packet turned out to be.
    struct Packet {
        bool isGood = true;
        bool isCompressed = false;
    };

    // Each returns false where its bytes cannot be read.
    bool readPackets(ByteCursor& cursor, Depth depth);
    bool readTraceField(ByteCursor& cursor, Depth depth);
    bool readPacket(ByteCursor& cursor, Depth depth);
    bool readPacketField(ByteCursor& cursor, Depth depth, Packet& packet);
    bool readWanted(uint64_t field, std::string_view bytes);
    bool readSystemInfo(std::string_view bytes);
    bool readCompressed(InflatedBytes& inflated, std::string_view bytes);

    LaunchMarks mMarks;
    FtraceBundles mBundles;
    LoggedSwitches mLog;
    std::unique_ptr<InflatedBytes> mZlib = makeZlibBytes();
    std::unique_ptr<InflatedBytes> mZstd = makeZstdBytes();
    std::optional<int> mApiLevel;
    std::size_t mPackets = 0;
    std::size_t mGoodPackets = 0;
    std::size_t mBadPackets = 0;
    bool mIsCutShort = false;
};

void TraceReader::read(ByteSource& source) {
    ByteCursor cursor(source);
    if (!readPackets(cursor, Depth::trace)) {
        mIsCutShort = cursor.isAtEnd();
        mBadPackets += mIsCutShort ? 0 : 1;
    }
}

bool TraceReader::readPackets(ByteCursor& cursor, Depth depth) {
    while (!cursor.isAtEnd()) {
        if (!readTraceField(cursor, depth)) {
            return false;
        }
    }
    return true;
}

bool TraceReader::readTraceField(ByteCursor& cursor, Depth depth) {
    const auto tag = takeTag(cursor);
    if (!tag || tag->number != KS_PACKET || tag->type != WireType::bytes) {
        return tag && skipField(cursor, tag->type);
    }
    const auto size = cursor.takeVarint();
    if (!size) {
        return false;
    }
    cursor.enter(*size);
    return readPacket(cursor, depth);
}

bool TraceReader::readPacket(ByteCursor& cursor, Depth depth) {
    Packet packet;
    while (!cursor.isAtEnd()) {
        if (!readPacketField(cursor, depth, packet)) {
            packet.isGood = false;
            break;
        }
    }
    if (!cursor.leave()) {
        return false;
    }
    mPackets += packet.isCompressed ? 0 : 1;
    ++(packet.isGood ? mGoodPackets : mBadPackets);
    return true;
}

bool TraceReader::readPacketField(ByteCursor& cursor, Depth depth, Packet& packet) {
    const auto tag = takeTag(cursor);
    if (!tag || tag->type != WireType::bytes || !isWanted(tag->number)) {
        return tag && skipField(cursor, tag->type);
    }
    const auto size = cursor.takeVarint();
    if (!size || *size > KS_MAX_FIELD) {
        return false;
    }
    const auto bytes = cursor.take(static_cast<std::size_t>(*size));
    if (!bytes) {
        return false;
    }
    if (tag->number != KS_COMPRESSED && tag->number != KS_ZSTD_COMPRESSED) {
        packet.isGood = readWanted(tag->number, *bytes) && packet.isGood;
        return true;
    }
    packet.isCompressed = true;
    return depth == Depth::trace &&
           readCompressed(tag->number == KS_COMPRESSED ? *mZlib : *mZstd, *bytes);
}

bool TraceReader::readWanted(uint64_t field, std::string_view bytes) {
    const std::size_t number = mPackets + 1;
    switch (field) {
        case KS_FTRACE_EVENTS:
            return mBundles.read(bytes, number, mMarks);
        case KS_CLOCK_SNAPSHOT:
            return mLog.readClockSnapshot(bytes);
        case KS_ANDROID_LOG:
            return mLog.readLogPacket(bytes, number);
        default:
            return readSystemInfo(bytes);
    }
}

bool TraceReader::readSystemInfo(std::string_view bytes) {
    ProtobufReader fields(bytes);
    while (fields.next()) {
        if (fields.number() == KS_API_LEVEL && fields.value() > 0 &&
            fields.value() < KS_API_LEVELS) {
            mApiLevel = static_cast<int>(fields.value());
        }
    }
    return fields.isWellFormed();
}

// What is there before a damaged place counts.
bool TraceReader::readCompressed(InflatedBytes& inflated, std::string_view bytes) {
    inflated.begin(bytes);
    ByteCursor cursor(inflated);
    return readPackets(cursor, Depth::compressedPacket) && inflated.isWhole();
}

ImportedInput TraceReader::take(const std::string& name) && {
    if (mGoodPackets == 0) {
        throw InputError(name + ": no Perfetto trace: nothing in it can be read as a packet");
    }
    mBadPackets += std::move(mLog).addTo(mMarks);
    ImportedInput imported = importLaunches(std::move(mMarks), mApiLevel, mBadPackets);
    imported.summary.name = name;
    imported.summary.kind = SourceKind::perfettoTrace;
    imported.summary.units = mPackets;
    imported.summary.androidRelease = androidReleaseOf(mApiLevel.value_or(0));
    addNote(imported.summary, InputNote::Kind::cutShort, mIsCutShort ? 1 : 0);
    return imported;
}

// The bytes that are seen of a source.
class SeenBytes : public ByteSource {
 public:
    explicit SeenBytes(std::string_view bytes) : mBytes(bytes) {}

    const std::string& name() const override { return mName; }
    std::string_view read() override { return std::exchange(mBytes, {}); }

 private:
    std::string mName;
    std::string_view mBytes;
};

// Whether there is nothing but what texts are made of, coloured ones too.
bool isText(std::string_view bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](char c) {
        return static_cast<unsigned char>(c) >= ' ' ||
               std::string_view("\t\n\r\x1b").find(c) != std::string_view::npos;
    });
}

}  // namespace

bool looksLikePerfettoTrace(std::string_view beginning) {
    if (!beginning.starts_with(KS_PACKET_TAG) || isText(beginning)) {
        return false;
    }
    SeenBytes seen(beginning.substr(1));
    ByteCursor cursor(seen);
    const auto size = cursor.takeVarint();
    if (!size) {
        return false;
    }
    cursor.enter(*size);
    while (!cursor.isAtEnd()) {
        const auto tag = takeTag(cursor);
        if (!tag || !skipField(cursor, tag->type)) {
            return cursor.isAtEnd() && !cursor.leave();  // no more of it is seen
        }
    }
    return !cursor.leave() || cursor.isAtEnd() || cursor.takeVarint() == KS_PACKET_TAG;
}

ImportedInput readPerfettoTrace(ByteSource& source) {
    TraceReader reader;
    reader.read(source);
    return std::move(reader).take(source.name());
}

}  // namespace kestrel

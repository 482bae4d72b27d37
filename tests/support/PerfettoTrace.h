#pragma once

#include <zlib.h>
#include <zstd.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kestrel {

// Makes a message in protobuf's encoding. Each operation adds a field.
class ProtobufMessage {
 public:
    ProtobufMessage& number(uint64_t field, uint64_t value) {
        varint(field << 3);
        varint(value);
        return *this;
    }

    ProtobufMessage& bytes(uint64_t field, std::string_view content) {
        varint(field << 3 | 2);
        varint(content.size());
        mBytes.append(content);
        return *this;
    }

    // Its length takes four bytes, as recorders write it.
    ProtobufMessage& message(uint64_t field, const ProtobufMessage& content) {
        varint(field << 3 | 2);
        std::size_t size = content.mBytes.size();
        for (int i = 0; i < 4; ++i, size >>= 7) {
            mBytes += static_cast<char>((size & 0x7f) | (i < 3 ? 0x80 : 0));
        }
        mBytes += content.mBytes;
        return *this;
    }

    const std::string& str() const { return mBytes; }

 private:
    void varint(uint64_t value) {
        for (; value >= 0x80; value >>= 7) {
            mBytes += static_cast<char>((value & 0x7f) | 0x80);
        }
        mBytes += static_cast<char>(value);
    }

    std::string mBytes;
};

// The texts of a bundle of ftrace events.
class FtraceBundle {
 public:
    FtraceBundle& print(uint64_t timeUs, std::string_view text) {
        ProtobufMessage print;
        print.number(1, 0xffffff8000123456).bytes(2, std::string(text) + "\n");
        ProtobufMessage event;
        event.number(1, timeUs * 1000).number(2, 1733).message(3, print);
        mFields.bytes(2, event.str());
        return *this;
    }

    // What takes the most of a trace, and tells nothing of launches.
    FtraceBundle& schedSwitch(uint64_t timeUs) {
        ProtobufMessage change;
        change.bytes(1, "RenderThread").number(2, 4711).number(3, 116).number(4, 1);
        change.bytes(5, "swapper/3").number(6, 0).number(7, 120);
        ProtobufMessage event;
        mFields.bytes(2,
                      event.number(1, timeUs * 1000).number(2, 4711).bytes(4, change.str()).str());
        return *this;
    }

    // The times are another clock's: `ftraceUs` of it is `bootUs`.
    FtraceBundle& ownClock(uint64_t ftraceUs, uint64_t bootUs) {
        mFields.number(5, 2).number(6, ftraceUs * 1000).number(7, bootUs * 1000);
        return *this;
    }

    // As the field of a packet.
    ProtobufMessage packet() const {
        ProtobufMessage packet;
        packet.message(1, mFields);
        return packet;
    }

 private:
    ProtobufMessage mFields;
};

// Makes a trace in Perfetto's format, a packet per operation.
class PerfettoTrace {
 public:
    PerfettoTrace& packet(const ProtobufMessage& packet) {
        mTrace.message(1, packet);
        return *this;
    }

    // One text in a packet of its own.
    PerfettoTrace& print(uint64_t timeUs, std::string_view text) {
        return packet(FtraceBundle().print(timeUs, text).packet());
    }

    PerfettoTrace& apiLevel(uint64_t level) {
        return packet(ProtobufMessage().message(45, ProtobufMessage().number(5, level)));
    }

    PerfettoTrace& clocks(uint64_t wallUs, uint64_t bootUs) {
        const auto clock = [](uint64_t id, uint64_t us) {
            return ProtobufMessage().number(1, id).number(2, us * 1000);
        };
        ProtobufMessage snapshot;
        snapshot.message(1, clock(6, bootUs)).message(1, clock(3, 5)).message(1, clock(1, wallUs));
        return packet(ProtobufMessage().message(6, snapshot));
    }

    // An entry of a log: a text or, where that is empty, an event of a number and a component.
    PerfettoTrace& log(uint64_t wallUs, std::string_view tag, std::string_view text,
                       std::string_view component = "") {
        ProtobufMessage event;
        event.number(1, text.empty() ? 2 : 3).number(5, wallUs * 1000).bytes(6, tag);
        if (text.empty()) {
            event.message(9, ProtobufMessage().bytes(1, "User").number(2, 0));
            event.message(9, ProtobufMessage().bytes(4, component));
        } else {
            event.bytes(8, text);
        }
        return packet(ProtobufMessage().message(39, ProtobufMessage().message(1, event)));
    }

    const std::string& str() const { return mTrace.str(); }

 private:
    ProtobufMessage mTrace;
};

// A trace of one packet which holds the packets of another.
inline std::string zlibPacked(const std::string& trace) {
    uLongf size = compressBound(trace.size());
    std::string packed(size, '\0');
    compress(reinterpret_cast<Bytef*>(packed.data()), &size,
             reinterpret_cast<const Bytef*>(trace.data()), trace.size());
    packed.resize(size);
    return PerfettoTrace().packet(ProtobufMessage().bytes(50, packed)).str();
}

inline std::string zstdPacked(const std::string& trace) {
    std::string packed(ZSTD_compressBound(trace.size()), '\0');
    packed.resize(ZSTD_compress(packed.data(), packed.size(), trace.data(), trace.size(), 3));
    return PerfettoTrace().packet(ProtobufMessage().bytes(133, packed)).str();
}

}  // namespace kestrel

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <variant>

namespace kestrel {

// What crosses the boundary between the plug-in and the host, one record each, in the order in
// which it happened.

namespace record {

struct Start {
    bool registered;
    bool feature;
};
struct Event {
    std::size_t line;
    int32_t hintId;
    int32_t hintType;
    std::string appName;
};
struct Log {
    int priority;
    std::string tag;
    std::string text;
};
struct Knob {
    int id;
    bool enabled;
};
struct Property {
    std::string name;
    std::string value;
};
struct State {
    std::string app;
    int32_t state;
};
struct Forget {
    std::string app;
};
struct Meter {
    int32_t hintId;
    int32_t hintType;
    int32_t hintArg;
    std::string appName;
};
struct Measured {
    std::string app;
    int32_t duration;
    bool aborted;
    int result;
};
struct Classify {
    std::string app;
    int32_t appClass;
};
struct Export {
    std::string text;
    int value;
    std::string app;
};
struct Hint {
    int handle;
    int hintId;
    std::string app;
    int duration;
    int hintType;
};
struct HintAcqRel {
    int old;
    int handle;
    int hintId;
    std::string app;
    int duration;
    int hintType;
    std::array<int, 2> args;
};
struct Release {
    int handle;
    int result;
};
struct PlhCreate {
    std::string init;
};
struct PlhCommand {
    int command;
    std::string text;
    int flag;
};
struct PlhDestroy {};
struct Query {
    std::size_t line;
    std::string app;
    int32_t type;
    int result;
    int32_t value;
};
struct Feedback {
    std::size_t line;
    std::string app;
    int result;
    int32_t duration;
};
struct Stop {};

}  // namespace record

struct HostRecord {
    int64_t t;  // ms; the trace object being handled
    std::variant<record::Start, record::Event, record::Log, record::Knob, record::Property,
                 record::State, record::Forget, record::Meter, record::Measured, record::Classify,
                 record::Export, record::Hint, record::HintAcqRel, record::Release,
                 record::PlhCreate, record::PlhCommand, record::PlhDestroy, record::Query,
                 record::Feedback, record::Stop>
        what;
};

// Called with one record at a time.
using RecordSink = std::function<void(const HostRecord&)>;

}  // namespace kestrel

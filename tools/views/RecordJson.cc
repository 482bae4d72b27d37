#include "tools/views/RecordJson.h"

#include "tools/base/Json.h"

namespace kestrel {

namespace {

// Each record's kind, and its keys in their order behind "kind" and "t".
struct Fields {
    const char* kind;
    Json fields;
};

struct ToFields {
    Fields operator()(const record::Start& r) const {
        return {"start", {{"registered", r.registered}, {"feature", r.feature}}};
    }
    Fields operator()(const record::Event& r) const {
        return {"event",
                {{"line", r.line},
                 {"hintId", r.hintId},
                 {"hintType", r.hintType},
                 {"appName", r.appName}}};
    }
    Fields operator()(const record::Log& r) const {
        return {"log", {{"priority", r.priority}, {"tag", r.tag}, {"text", r.text}}};
    }
    Fields operator()(const record::Knob& r) const {
        return {"knob", {{"id", r.id}, {"enabled", r.enabled}}};
    }
    Fields operator()(const record::Property& r) const {
        return {"property", {{"name", r.name}, {"value", r.value}}};
    }
    Fields operator()(const record::State& r) const {
        return {"state", {{"app", r.app}, {"state", r.state}}};
    }
    Fields operator()(const record::Forget& r) const { return {"forget", {{"app", r.app}}}; }
    Fields operator()(const record::Meter& r) const {
        return {"meter",
                {{"hintId", r.hintId},
                 {"hintType", r.hintType},
                 {"hintArg", r.hintArg},
                 {"appName", r.appName}}};
    }
    Fields operator()(const record::Measured& r) const {
        return {"measured",
                {{"app", r.app},
                 {"duration", r.duration},
                 {"aborted", r.aborted},
                 {"result", r.result}}};
    }
    Fields operator()(const record::Classify& r) const {
        return {"classify", {{"app", r.app}, {"class", r.appClass}}};
    }
    Fields operator()(const record::Export& r) const {
        return {"export", {{"text", r.text}, {"value", r.value}, {"app", r.app}}};
    }
    Fields operator()(const record::Hint& r) const {
        return {"hint",
                {{"handle", r.handle},
                 {"hintId", r.hintId},
                 {"app", r.app},
                 {"duration", r.duration},
                 {"hintType", r.hintType}}};
    }
    Fields operator()(const record::HintAcqRel& r) const {
        return {"hintAcqRel",
                {{"old", r.old},
                 {"handle", r.handle},
                 {"hintId", r.hintId},
                 {"app", r.app},
                 {"duration", r.duration},
                 {"hintType", r.hintType},
                 {"args", r.args}}};
    }
    Fields operator()(const record::Release& r) const {
        return {"release", {{"handle", r.handle}, {"result", r.result}}};
    }
    Fields operator()(const record::PlhCreate& r) const {
        return {"plh", {{"op", "create"}, {"init", r.init}}};
    }
    Fields operator()(const record::PlhCommand& r) const {
        return {"plh",
                {{"op", "command"}, {"command", r.command}, {"text", r.text}, {"flag", r.flag}}};
    }
    Fields operator()(const record::PlhDestroy&) const { return {"plh", {{"op", "destroy"}}}; }
    Fields operator()(const record::Query& r) const {
        return {"query",
                {{"line", r.line},
                 {"app", r.app},
                 {"type", r.type},
                 {"result", r.result},
                 {"value", r.value}}};
    }
    Fields operator()(const record::Feedback& r) const {
        return {"feedback",
                {{"line", r.line}, {"app", r.app}, {"result", r.result}, {"duration", r.duration}}};
    }
    Fields operator()(const record::Stop&) const { return {"stop", Json::object()}; }
};

}  // namespace

std::string toJsonLine(const HostRecord& entry) {
    Fields what = std::visit(ToFields{}, entry.what);
    Json line = {{"kind", what.kind}, {"t", entry.t}};
    line.update(what.fields);
    return toText(line);
}

}  // namespace kestrel

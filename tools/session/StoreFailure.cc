#include "tools/session/StoreFailure.h"

#include <string_view>

namespace kestrel {

namespace {

// What the store's lines of failures have in common, and the codes with which a single row is
// refused: one without a name, or one whose identity the store cannot write.
constexpr std::string_view FAILURES[] = {"ERROR:Db", "LMDB: "};
constexpr std::string_view REFUSED_ROWS[] = {" info=19", " info=25"};

bool tellsFailure(std::string_view text) {
    for (const std::string_view refused : REFUSED_ROWS) {
        if (text.ends_with(refused)) {
            return false;
        }
    }
    for (const std::string_view failure : FAILURES) {
        if (text.find(failure) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

}  // namespace

void StoreFailure::add(const HostRecord& entry) {
    const auto* log = std::get_if<record::Log>(&entry.what);
    if (log != nullptr && mFirstLine.empty() && tellsFailure(log->text)) {
        mFirstLine = log->text;
    }
}

}  // namespace kestrel

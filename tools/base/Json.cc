#include "tools/base/Json.h"

namespace kestrel {

std::string toText(const Json& value, int indent) {
    return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace kestrel

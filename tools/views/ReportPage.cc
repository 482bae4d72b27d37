#include "tools/views/ReportPage.h"

#include <string>
#include <string_view>

namespace kestrel {

namespace {

#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wc23-extensions"  // #embed
constexpr unsigned char PAGE[] = {
#embed "report.html"
};
#pragma clang diagnostic pop

constexpr std::string_view DATA_PLACE = "@DATA@";

// JSON that an HTML script element may hold: no "<", which could end the element or open a comment.
// JSON has it only within texts, where its escape says the same.
std::string elementText(const Json& data) {
    const std::string json = toText(data);
    std::string text;
    text.reserve(json.size());
    for (const char c : json) {
        if (c == '<') {
            text += "\\u003c";
        } else {
            text += c;
        }
    }
    return text;
}

}  // namespace

void writeReportPage(std::ostream& out, const Json& data) {
    const std::string_view page(reinterpret_cast<const char*>(PAGE), sizeof(PAGE));
    const std::size_t place = page.find(DATA_PLACE);
    out << page.substr(0, place) << elementText(data) << page.substr(place + DATA_PLACE.size());
}

}  // namespace kestrel

// Whole stories: a trace and the record stream that it must give. A story of several lives on one
// root is NAME.1.jsonl, NAME.2.jsonl and so on. The expected stream, NAME.records, may begin with
// a line "# only: KIND KIND ..." and then holds the records of these kinds alone. A line of three
// dots stands for records that repeat what was seen: none of them is of a state.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "tests/support/ProgramRun.h"

namespace kestrel {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> readLines(const fs::path& file) {
    std::ifstream stream(file);
    return splitLines({std::istreambuf_iterator<char>(stream), {}});
}

std::vector<std::string> storyNames() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(KESTREL_TRACES)) {
        if (entry.path().extension() == ".records") {
            names.push_back(entry.path().stem().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

class StoryTest : public testing::TestWithParam<std::string> {};

TEST_P(StoryTest, GivesItsRecords) {
    const fs::path traces = KESTREL_TRACES;
    std::vector<std::string> expected = readLines(traces / (GetParam() + ".records"));
    std::set<std::string> kinds;
    constexpr std::string_view ONLY = "# only: ";
    if (!expected.empty() && expected.front().starts_with(ONLY)) {
        std::istringstream words(expected.front().substr(ONLY.size()));
        for (std::string kind; words >> kind;) {
            kinds.insert(kind);
        }
        expected.erase(expected.begin());
    }
    std::vector<fs::path> lives = {traces / (GetParam() + ".jsonl")};
    if (!fs::exists(lives.front())) {
        lives.clear();
        for (int n = 1; fs::exists(traces / (GetParam() + "." + std::to_string(n) + ".jsonl"));
             ++n) {
            lives.push_back(traces / (GetParam() + "." + std::to_string(n) + ".jsonl"));
        }
    }
    ASSERT_FALSE(lives.empty());

    const ProgramRun program;
    std::vector<std::string> records;
    for (const fs::path& trace : lives) {
        const auto result =
            program.run("replay --json --no-sync --root root '" + trace.string() + "'");
        ASSERT_EQ(result.status, 0) << result.err;
        for (const std::string& line : splitLines(result.out)) {
            if (kinds.empty() || kinds.contains(nlohmann::json::parse(line).at("kind"))) {
                records.push_back(line);
            }
        }
    }
    auto record = records.begin();
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (expected[i] == "...") {
            ++i;
            while (record != records.end() && i < expected.size() && *record != expected[i]) {
                ASSERT_FALSE(record->starts_with(R"({"kind":"state")")) << *record;
                ++record;
            }
        }
        ASSERT_NE(record, records.end()) << "line " << i + 1 << " is missing";
        ASSERT_EQ(*record++, expected[i]) << "line " << i + 1;
    }
    EXPECT_EQ(record, records.end());
}

INSTANTIATE_TEST_SUITE_P(Traces, StoryTest, testing::ValuesIn(storyNames()),
                         [](const auto& info) { return info.param; });

}  // namespace

}  // namespace kestrel

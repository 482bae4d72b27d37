// The report's page as a browser shows it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>

#include "support/ProgramRun.h"
#include "tools/views/ReportPage.h"

namespace kestrel {

namespace {

using Json = nlohmann::ordered_json;

const std::string HOSTILE = "</script><script>alert(1)</script><!--<b>&amp;";

// Whose first app and title have names that must stay texts.
Json report() {
    std::ifstream file(KESTREL_SUPPORT "/report.json");
    Json data = Json::parse(file);
    data["title"] = "launches" + HOSTILE + ".log";
    data["apps"][0]["app"] = "com.a\xff" + HOSTILE;
    return data;
}

void replaceAll(std::string& text, std::string_view part, std::string_view by) {
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos;) {
        text.replace(at, part.size(), by);
    }
}

// The texts of a document's body, one a line; narrow blanks become "'".
std::string textsOf(std::string_view document) {
    document.remove_prefix(std::min(document.find("<body"), document.size()));
    std::string texts;
    while (!document.empty()) {
        const std::size_t tag = document.find('<');
        if (document.find_first_not_of(" \n") < tag) {
            texts += '\n' + std::string(document.substr(0, tag));
        }
        const std::size_t end = document.find('>', std::min(tag, document.size()));
        document.remove_prefix(std::min(end, document.size() - 1) + 1);
    }
    replaceAll(texts, "\u202f", "'");
    return texts + '\n';
}

std::size_t count(std::string_view text, std::string_view part) {
    std::size_t found = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string_view::npos; ++at) {
        ++found;
    }
    return found;
}

class ReportPageTest : public testing::Test {
 protected:
    // Opens report.html with the browser's options and returns what it printed. What its console
    // tells is a failure.
    std::string browse(const std::string& options) {
        const std::string command =
            "cd '" + mProgram.path(".").string() +
            "' && HOME=$PWD XDG_RUNTIME_DIR=$PWD chromium --headless --no-sandbox --disable-gpu"
            " --disable-dev-shm-usage --user-data-dir=profile --enable-logging=stderr " +
            options + " \"file://$PWD/report.html\" >document 2>log";
        EXPECT_EQ(std::system(command.c_str()), 0) << mProgram.read("log");
        EXPECT_EQ(mProgram.read("log").find("CONSOLE"), std::string::npos) << mProgram.read("log");
        return mProgram.read("document");
    }

    // The document after all scripts have run, but for where names may break.
    std::string document() {
        std::string result = browse("--virtual-time-budget=10000 --dump-dom");
        replaceAll(result, "<wbr>", "");
        return result;
    }

    std::string open(const Json& data) {
        std::ofstream page(mProgram.path("report.html"), std::ios::binary);
        writeReportPage(page, data);
        page.close();
        return document();
    }

    ProgramRun mProgram;
};

void expectTexts(const std::string& texts, std::initializer_list<const char*> expected) {
    for (const char* text : expected) {
        EXPECT_NE(texts.find(text), std::string::npos) << text << "\n in" << texts;
    }
}

TEST_F(ReportPageTest, ShowsTheNumbersAndChartsOfItsData) {
    const std::string document = open(report());
    expectTexts(
        textsOf(document),
        {
            "\nlaunches\n1'240\n",
            "Over 1'100 launches with a first frame KestrelStarts covered 93.5 % of a launch and "
            "wasted 311 ms on average, and boosted 2'200'000 ms in all; 5000 ms for every launch "
            "would have covered 90.0 %, wasted 311 ms and boosted 5'500'000 ms. So KestrelStarts "
            "covered more of a launch and wasted as much.",
            "\na.log: it ends &lt;b&gt;\n",
            "\n5000 ms for all\n1'100\n41.0\n100.0\n90.0\n700\n120\n1'234'567\n311\n5'500'000\n",
            "\nKestrelStarts, while learning\n0\n–\n–\n–\n0\n–\n–\n–\n0\n",
            "\ncom.b\nlearned\n1'350\n3\n2\n93.5\n93.5\n311\n311\n16'350\n10'000\n",
            "\nlearned 1'350 ms, 2 of 3 launches with a first frame\n",
            "Time to the first frame: 0 to 2'329 ms, median 1'165 ms. Boost held: 0 to 15'000 ms",
            "Changes: disabled at 1d 00:00:00.000; learned 1'350 ms at 2019-11-22 13:45:08.388.",
            "23:59:59.999 to 2019-11-22 13:45:08.388",
        });
    // Bars of each policy in three charts, and a chart for each app.
    EXPECT_EQ(count(document, "<rect class=\"bar"), 9U);
    EXPECT_EQ(count(document, "<path class=\"dots\" stroke-width=\"5\" d=\"M"), 2U);
}

TEST_F(ReportPageTest, ForeignTextsStayTexts) {
    const std::string document = open(report());
    EXPECT_NE(document.find("\">com.a\ufffd&lt;/script&gt;&lt;script&gt;alert(1)&lt;/script&gt;"
                            "&lt;!--&lt;b&gt;&amp;amp;</a>"),
              std::string::npos);
    EXPECT_EQ(document.find("<b>&"), std::string::npos);
    // The data, and the two scripts of the page.
    EXPECT_EQ(count(document, "</script>"), 3U);
}

TEST_F(ReportPageTest, SaysThatThereAreNoLaunches) {
    Json data = report();
    data["summary"]["launches"] = 0;
    data["apps"] = Json::array();
    const std::string document = open(data);
    EXPECT_NE(textsOf(document).find("\nNo launches.\n"), std::string::npos);
    EXPECT_NE(document.find("class=\"needs-launches\" hidden"), std::string::npos);
}

TEST_F(ReportPageTest, ShowsAndPrintsWhatTheProgramReports) {
    const auto run = mProgram.run("report --out report.html '" KESTREL_TRACES
                                  "/../../traces/avd-android7.0-28-runs.jsonl'");
    ASSERT_EQ(run.status, 0) << run.err;
    expectTexts(textsOf(document()), {"Over 247 launches", "covered 90.2 %", "boosted 330'141 ms",
                                      "\nbr.com.catbag.gifreduxsample\nlearned\n751\n"});
    // Drawn anew for paper: a narrow window's axis has fewer numbers.
    browse("--window-size=320,800 --print-to-pdf=report.pdf");
    const std::string toText = "pdftotext '" + mProgram.path("report.pdf").string() + "' '" +
                               mProgram.path("printed").string() + "'";
    ASSERT_EQ(std::system(toText.c_str()), 0);
    expectTexts(mProgram.read("printed"), {"\n220\n\n240\n"});
}

}  // namespace

}  // namespace kestrel

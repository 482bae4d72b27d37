#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Archive.h"
#include "tests/support/Bytes.h"
#include "tools/base/InputError.h"
#include "tools/input/archive/ArchiveReader.h"
#include "tools/input/archive/BugReportArchive.h"
#include "tools/input/archive/DecompressedSource.h"

namespace kestrel {

namespace {

using Lines = std::vector<std::string>;

std::string longText() {
    std::string text;
    for (unsigned i = 0, noise = 1; i < 40000; ++i, noise = noise * 1103515245U + 12345U) {
        text += std::to_string(noise >> 8U) + '\n';
    }
    return text;
}

std::string decompressed(const std::string& bytes, std::size_t blockSize = 4096) {
    ChunkedSource source(bytes, blockSize);
    DecompressedSource decompressed(source, bytes);
    return allOf(decompressed);
}

// "NAME=CONTENT" of each member, "NAME!ERROR" of one that cannot be read; last what ends the walk
// before its time.
Lines membersOf(const std::string& bytes) {
    FileSource file(fileHolding(bytes), "a.zip");
    Lines members;
    const std::string error = errorOf<InputError>([&] {
        forEachMember(file, [&](const ArchiveMember& member, ByteSource& content) {
            std::string all;
            const std::string told = errorOf<InputError>([&] { all = allOf(content); });
            members.push_back(member.name + (told == "no error" ? '=' + all : '!' + told));
        });
    });
    if (error != "no error") {
        members.push_back(error);
    }
    return members;
}

std::string patched(std::string bytes, std::size_t place, const std::string& patch) {
    return bytes.replace(place, patch.size(), patch);
}

}  // namespace

TEST(ArchiveTest, CompressedStreamsAreReadWhole) {
    const std::string text = longText();
    const struct {
        std::string format;
        int filter;
    } cases[] = {
        {"gzip", ARCHIVE_FILTER_GZIP},
        {"xz", ARCHIVE_FILTER_XZ},
        {"bzip2", ARCHIVE_FILTER_BZIP2},
        {"zstd", ARCHIVE_FILTER_ZSTD},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.format);
        const std::string bytes = ArchiveMaker::compressed(text, c.filter);
        EXPECT_TRUE(looksCompressed(bytes));
        EXPECT_TRUE(decompressed(bytes) == text);
        EXPECT_TRUE(decompressed(bytes + bytes, 7) == text + text);
        EXPECT_EQ(decompressed(ArchiveMaker::compressed("", c.filter)), "");
        // Twice is undone once.
        EXPECT_TRUE(decompressed(ArchiveMaker::compressed(bytes, c.filter)) == bytes);
        for (const std::size_t size : {std::size_t{15}, bytes.size() / 2, bytes.size() - 1}) {
            EXPECT_EQ(errorOf<InputError>([&] { decompressed(bytes.substr(0, size)); }),
                      "input: the " + c.format + " data ends early");
        }
        std::string damaged = bytes;
        std::fill_n(damaged.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), 64, '\xFF');
        EXPECT_TRUE(errorOf<InputError>([&] {
                        decompressed(damaged);
                    }).starts_with("input: the " + c.format + " data is damaged"));
    }
    EXPECT_FALSE(looksCompressed("BZh plain text"));
}

TEST(ArchiveTest, ABombIsHandedOutInSmallBlocks) {
    constexpr std::size_t SIZE = std::size_t{64} << 20;
    const std::string bomb = ArchiveMaker::compressed(std::string(SIZE, '\0'), ARCHIVE_FILTER_GZIP);
    ChunkedSource source(bomb, bomb.size());
    DecompressedSource decompressed(source, bomb);
    std::size_t total = 0;
    for (auto block = decompressed.read(); !block.empty(); block = decompressed.read()) {
        total += block.size();
        ASSERT_LE(block.size(), std::size_t{1} << 20);
    }
    EXPECT_EQ(total, SIZE);
}

TEST(ArchiveTest, MembersComeAsTheyAreStored) {
    const std::string text = longText();
    const std::vector<StoredMember> members = {
        {"logs/", "", true, AE_IFDIR}, {"logs/z.txt", text},        {"a/../b.txt", "out"},
        {"/abs.txt", "out"},           {"l", "/x", true, AE_IFLNK}, {"gr\u00FC\u00DF", "", false},
        {"a..b/behind", text, false},
    };
    const Lines expected = {"logs/z.txt=" + text,
                            "a/../b.txt!a.zip/a/../b.txt: its name leads out of the archive",
                            "/abs.txt!a.zip//abs.txt: its name leads out of the archive",
                            "l!a.zip/l: it is a link, which is not followed",
                            "gr\u00FC\u00DF=",
                            "a..b/behind=" + text};
    for (const char* options : {"zip:compression=store", "zip:compression=deflate"}) {
        const std::string zip = ArchiveMaker::zip(members, options);
        EXPECT_TRUE(looksLikeArchive(zip));
        EXPECT_EQ(membersOf(zip), expected) << options;
    }
    const std::string tar = ArchiveMaker::tar({{"one", "1"}, {"two", text}});
    EXPECT_TRUE(looksLikeArchive(tar));
    EXPECT_EQ(membersOf(tar), (Lines{"one=1", "two=" + text}));
    EXPECT_EQ(membersOf(ArchiveMaker::zip({})), Lines{});
}

TEST(ArchiveTest, HostileArchivesAreToldInSentences) {
    const std::string zip =
        ArchiveMaker::zip({{"one", "1111"}, {"two", "2222"}}, "zip:compression=store");
    const std::size_t directoryEnd = zip.find("PK\x05\x06");
    const std::string huge = "\xF0\xFF\xFF\xFE";
    const std::string damaged = "!a.zip/one: its data is damaged (";
    const auto early = [](const std::string& name) {
        return name + "!a.zip/" + name + ": its data ends early";
    };
    const struct {
        std::string name;
        std::string bytes;
        Lines members;
    } cases[] = {
        {"says 4 GB", patched(zip, 18, huge + huge), {early("one"), "two=2222"}},
        {"encrypted",
         ArchiveMaker::zip({{"one", "1"}}, "zip:encryption=zipcrypt"),
         {"one!a.zip/one: it is encrypted"}},
        {"says 1 byte",
         patched(zip, 22, "\x01"),
         {"one" + damaged + "ZIP uncompressed data is wrong size (read 4, expected 1))",
          "two=2222"}},
        {"wrong sum",
         patched(zip, zip.find("1111"), "1112"),
         {"one" + damaged + "ZIP bad CRC: 0x42f0994d should be 0xdbf9c8f7)", "two=2222"}},
        {"cut in a member",
         zip.substr(0, zip.find("2222") + 2),
         {"one=1111", early("two"), "a.zip: the archive ends early"}},
        {"no directory there", patched(zip, directoryEnd + 16, huge), {"one=1111", "two=2222"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(membersOf(c.bytes), c.members) << c.name;
    }
}

TEST(ArchiveTest, TooManyMembersAreRefused) {
    const std::vector<StoredMember> members(ArchiveReader::KS_MAX_MEMBERS + 1, {"x", ""});
    const Lines lines = membersOf(ArchiveMaker::zip(members, "zip:compression=store"));
    EXPECT_EQ(lines.size(), ArchiveReader::KS_MAX_MEMBERS + 1);
    EXPECT_EQ(lines.back(), "a.zip: the archive has more than 100000 entries");
}

TEST(ArchiveTest, TheReportOfABugReportIsFound) {
    const std::string report = "bugreport-kite-B1.2-2026-05-02-10-11-12.txt";
    const struct {
        std::string name;
        std::vector<StoredMember> members;
        std::string expected;
    } cases[] = {
        {"named", {{"bugreport-a.txt", ""}, {"b.txt", ""}, {"main_entry.txt", "b.txt\n"}}, "b.txt"},
        {"named behind",
         {{"main_entry.txt", report}, {"bugreport-a.txt", ""}, {report, ""}},
         report},
        {"named, not there", {{report, ""}, {"main_entry.txt", "x.txt"}}, report},
        {"name too long", {{report, ""}, {"main_entry.txt", longText()}}, report},
        {"not named", {{"version.txt", "1.0"}, {report, ""}, {"dumpstate_log.txt", ""}}, report},
        {"below a folder", {{"FS/" + report, ""}, {"dumpstate_log.txt", ""}}, "none"},
    };
    for (const auto& c : cases) {
        FileSource file(fileHolding(ArchiveMaker::zip(c.members)), "r.zip");
        EXPECT_EQ(bugReportMember(file).value_or("none"), c.expected) << c.name;
    }
    FileSource file(fileHolding(ArchiveMaker::zip({{"x", "y"}, {report, "text"}})), "r.zip");
    ArchiveReader reader(file);
    ASSERT_TRUE(reader.find(report));
    EXPECT_EQ(reader.content().name(), "r.zip/" + report);
    EXPECT_EQ(allOf(reader.content()), "text");
    EXPECT_FALSE(reader.find(report));
}

}  // namespace kestrel

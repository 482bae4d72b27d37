#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Bytes.h"
#include "tools/base/FileSource.h"
#include "tools/base/FolderContent.h"
#include "tools/base/InputError.h"
#include "tools/base/LineReader.h"
#include "tools/base/PeekedSource.h"
#include "tools/base/TemporaryDirectory.h"
#include "tools/base/Utf16Source.h"

namespace kestrel {

namespace {

using namespace std::string_literals;

constexpr std::size_t BLOCK_SIZES[] = {1, 2, 3, 5, 100};

struct Progress : ReadObserver {
    void onRead(const std::string& name, std::size_t done, std::size_t total) override {
        told.push_back(name + " " + std::to_string(done) + "/" + std::to_string(total));
    }
    std::vector<std::string> told;
};

std::string filled(std::size_t size) {
    std::string text;
    for (std::size_t i = 0; text.size() < size; ++i) {
        text += std::to_string(i);
    }
    text.resize(size);
    return text;
}

}  // namespace

TEST(ByteSourceTest, FilesAreReadFromWhereTheyStandAndAgain) {
    const std::string text = filled(FileSource::KS_BLOCK_SIZE + 10);
    OpenFile open = fileHolding("head" + text);
    lseek(open.descriptor(), 4, SEEK_SET);
    FileSource file(std::move(open), "log");
    Progress progress;
    file.setObserver(&progress);
    EXPECT_EQ(allOf(file), text);
    EXPECT_EQ(progress.told, (std::vector<std::string>{"log 65536/65546", "log 65546/65546"}));
    EXPECT_EQ(file.read(), "");
    file.rewind();
    EXPECT_EQ(allOf(file), text);
    file.seek(text.size() - 3);
    EXPECT_EQ(file.read(), text.substr(text.size() - 3));
    file.seek(SIZE_MAX);
    EXPECT_EQ(file.read(), "");
    EXPECT_EQ(file.position(), text.size());
}

TEST(ByteSourceTest, WhatIsReadOnceCanBeSpooled) {
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    FileSource pipe{OpenFile(ends[0]), "-"};
    ASSERT_EQ(write(ends[1], "some text", 9), 9);
    close(ends[1]);
    EXPECT_FALSE(pipe.isRegular());
    const auto file = spooled(pipe, "standard input");
    EXPECT_TRUE(file->isRegular());
    EXPECT_EQ(file->size(), 9U);
    EXPECT_EQ(allOf(*file), "some text");
    setenv("TMPDIR", "/nowhere", 1);
    EXPECT_THROW(spooled(pipe, "-"), std::runtime_error);
    unsetenv("TMPDIR");
}

TEST(ByteSourceTest, WhatIsNoFileIsTold) {
    const std::string noSuch = ": No such file or directory";
    EXPECT_EQ(errorOf<InputError>([] { FileSource("/no/file"); }), "/no/file" + noSuch);
    EXPECT_EQ(errorOf<InputError>([] { FileSource("/"); }), "/: Is a directory");
    EXPECT_EQ(errorOf<InputError>([] { filesIn("/no"); }), "/no" + noSuch);
}

TEST(ByteSourceTest, LinesReachOverBlocks) {
    const std::string text = "\n\none\r\ntwo two\na\0b\n\nlast"s;
    const std::vector<std::string> lines = {"", "", "one\r", "two two", "a\0b"s, "", "last"};
    for (const std::size_t size : BLOCK_SIZES) {
        for (const char* end : {"", "\n"}) {
            SCOPED_TRACE(size);
            const std::string ended = text + end;
            ChunkedSource source(ended, size);
            LineReader reader(source);
            std::vector<std::string> read;
            while (const auto line = reader.next()) {
                read.emplace_back(*line);
                EXPECT_EQ(reader.number(), read.size());
            }
            EXPECT_EQ(read, lines);
        }
    }
    const std::string endless = std::string(LineReader::KS_MAX_LINE + 5, 'x') + "\nnext";
    for (const std::size_t size : {FileSource::KS_BLOCK_SIZE, endless.size()}) {
        ChunkedSource source(endless, size);
        LineReader reader(source);
        EXPECT_EQ(reader.next()->size(), LineReader::KS_MAX_LINE);
        EXPECT_EQ(reader.next(), "next");
    }
}

TEST(ByteSourceTest, LookingAheadTakesNothingAway) {
    const std::string text = filled(20);
    for (const std::size_t size : BLOCK_SIZES) {
        SCOPED_TRACE(size);
        ChunkedSource source(text, size);
        PeekedSource peeked(source);
        EXPECT_TRUE(peeked.peek(0).empty());
        EXPECT_EQ(peeked.peek(4).substr(0, 4), text.substr(0, 4));
        std::string taken(peeked.read());
        EXPECT_EQ(taken + std::string(peeked.peek(100)), text);
        taken += allOf(peeked);
        EXPECT_EQ(taken, text);
        EXPECT_TRUE(peeked.peek(1).empty());
        EXPECT_TRUE(peeked.read().empty());
    }
}

TEST(ByteSourceTest, Utf16BecomesUtf8) {
    const struct {
        std::u16string text;
        std::string tail;  // bytes behind it
        std::string expected;
    } cases[] = {
        {u"\uFEFF", "", ""},
        {u"\uFEFFlog\r\n\uFEFF", "", "log\r\n\uFEFF"},
        {u"a\u00FC\u20AC\U0001F600b", "", "a\u00FC\u20AC\U0001F600b"},
        {{u'a', 0xD83D, u'b', 0xDE00, u'c'}, "", "a\uFFFDb\uFFFDc"},
        {{0xD83D, 0xD83D, 0xDE00, 0xD83D}, "", "\uFFFD\U0001F600\uFFFD"},
        {{u'a', 0xD83D}, "x", "a\uFFFD"},
        {u"end", "x", "end"},
    };
    for (const auto& c : cases) {
        for (const bool big : {false, true}) {
            std::string bytes;
            for (const char16_t unit : c.text) {
                const char halves[] = {static_cast<char>(unit >> 8U), static_cast<char>(unit)};
                bytes += {halves[big ? 0 : 1], halves[big ? 1 : 0]};
            }
            bytes += c.tail;
            for (const std::size_t size : BLOCK_SIZES) {
                SCOPED_TRACE(c.expected + " by " + std::to_string(size));
                ChunkedSource source(bytes, size);
                Utf16Source text(source, big ? TextEncoding::utf16be : TextEncoding::utf16le);
                EXPECT_EQ(allOf(text), c.expected);
            }
        }
    }
}

TEST(ByteSourceTest, EncodingsAreKnownByMarksOrZeros) {
    std::string wide;
    for (int i = 0; i < 25; ++i) {
        wide += "x\0"s;
    }
    const struct {
        std::string beginning;
        TextEncoding encoding;
    } cases[] = {
        {"\0"s, TextEncoding::utf8},
        {"\xEF\xBB\xBFlog", TextEncoding::utf8WithMark},
        {"\xFF\xFE", TextEncoding::utf16le},
        {"\xFE\xFF", TextEncoding::utf16be},
        {"x\0"s, TextEncoding::utf16le},
        {"\0x"s, TextEncoding::utf16be},
        {wide + "what is behind", TextEncoding::utf16le},
        {'\0' + wide, TextEncoding::utf16be},
        {"x\0\0\0"s, TextEncoding::utf8},
        {wide.substr(0, 48) + "xx", TextEncoding::utf8},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(encodingOf(c.beginning), c.encoding) << c.beginning;
    }
}

TEST(ByteSourceTest, FoldersGiveTheirFilesInOrder) {
    namespace fs = std::filesystem;
    const TemporaryDirectory folder;
    const fs::path& top = folder.path();
    fs::create_directories(top / "b" / "deep");
    fs::create_directories(top / ".hidden");
    for (const char* name : {"b/deep/z", "b.txt", "B", ".hidden/x", ".dot"}) {
        std::ofstream(top / name) << name;
    }
    fs::create_symlink("b.txt", top / "link");
    fs::create_symlink("nowhere", top / "broken");
    fs::create_directory_symlink("..", top / "b" / "round");
    std::vector<std::string> expected;
    for (const char* name : {"B", "b.txt", "b/deep/z", "link"}) {
        expected.push_back(top / name);
    }
    EXPECT_EQ(filesIn(top), expected);
}

}  // namespace kestrel

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tools/base/ByteSource.h"

namespace kestrel {

// The lines of a source. Of a line that is longer than KS_MAX_LINE the rest is dropped, so that
// bytes that are no text take no memory.
// Ownership: borrows the source.
class LineReader {
 public:
    static constexpr std::size_t KS_MAX_LINE = std::size_t{16} << 20;

    explicit LineReader(ByteSource& source) : mSource(source) {}

    // The next line without its line end, valid until the next call; the last one may lack it.
    std::optional<std::string_view> next();

    // Whether that line had its line end.
    bool isWhole() const { return mIsWhole; }

    // What is at hand behind that line, from the beginning of the next one on; valid as long.
    std::string_view block() const { return mBlock; }

    // Passes over whole lines at the beginning of block().
    void skip(std::size_t sizeBytes, std::size_t lines) {
        mBlock.remove_prefix(sizeBytes);
        mNumber += lines;
    }

    // Of the line that was handed out last; from 1.
    std::size_t number() const { return mNumber; }

 private:
    std::string_view longLine();
    void keep(std::string_view part);

    ByteSource& mSource;
    std::string_view mBlock;  // of the source, what has not been handed out
    std::string mLong;        // a line that reaches over the end of a block
    std::size_t mNumber = 0;
    bool mIsWhole = false;
};

}  // namespace kestrel

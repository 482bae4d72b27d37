#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/base/ByteSource.h"

namespace kestrel {

// What arrives on standard input.
// Errors: throws InputError when it cannot be read.
class StandardInput : public ByteSource {
 public:
    // Waits for more. False: there is no more, or the user wants none.
    bool receive();

    // What has arrived and has not been handed out.
    std::string_view ahead() const { return std::string_view(mText).substr(mBegin); }

    // The next line without its line end; the last one may lack it. False: there is no other, or
    // the user wants no more. A line that an interruption cut off is none. Of one that is longer
    // than LineReader::KS_MAX_LINE the rest is dropped.
    bool readLine(std::string& line);

    // Whether its end has been met, and all of it handed out.
    bool isAtEnd() const { return mEnded && mBegin == mText.size(); }

    const std::string& name() const override { return mName; }
    std::string_view read() override;

 private:
    std::string mName = "-";
    std::string mText;  // read, and not yet handed out from mBegin on
    std::size_t mBegin = 0;
    bool mEnded = false;
};

}  // namespace kestrel

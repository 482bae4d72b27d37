#pragma once

#include <cstddef>
#include <string>

namespace kestrel {

// The lines of standard input as they arrive.
// Errors: throws InputError when it cannot be read.
class StandardInput {
 public:
    // The next line without its line end; the last one may lack it. False: there is no other, or
    // the user wants no more. A line that an interruption cut off is none.
    bool readLine(std::string& line);

    // Whether its end has been met, and every line handed out.
    bool isAtEnd() const { return mEnded && mBegin == mText.size(); }

 private:
    std::string mText;  // read, and not yet handed out from mBegin on
    std::size_t mBegin = 0;
    bool mEnded = false;
};

}  // namespace kestrel

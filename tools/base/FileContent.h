#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace kestrel {

// A file that is read once, from its beginning to its end; also a pipe.
// Errors: everything throws InputError when it cannot be read.
class FileReader {
 public:
    explicit FileReader(std::string fileName);

    const std::string& name() const { return mName; }

    // The next line without its line end; the last one may lack it. False: there is no other.
    bool readLine(std::string& line);

    std::string readRest();

 private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    // The next bytes, valid until the next call; empty at the end.
    std::string_view readBlock();
    [[noreturn]] void fail() const;

    std::string mName;
    std::unique_ptr<std::FILE, Close> mFile;
    std::string mBlock;
    std::string_view mRead;  // of mBlock, what has not been handed out
};

// The whole content of a file. Throws InputError when it cannot be read.
std::string readFile(const std::string& fileName);

}  // namespace kestrel

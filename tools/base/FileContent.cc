#include "tools/base/FileContent.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "tools/base/InputError.h"

namespace kestrel {

namespace {

constexpr std::size_t BLOCK_SIZE = 65536;

}  // namespace

FileReader::FileReader(std::string fileName)
    : mName(std::move(fileName)), mFile(std::fopen(mName.c_str(), "rb")) {
    if (mFile == nullptr) {
        fail();
    }
    std::setvbuf(mFile.get(), nullptr, _IONBF, 0);  // blocks are read
}

bool FileReader::readLine(std::string& line) {
    line.clear();
    bool isThere = false;
    while (!mRead.empty() || !(mRead = readBlock()).empty()) {
        isThere = true;
        const std::size_t end = mRead.find('\n');
        line.append(mRead.substr(0, end));
        mRead.remove_prefix(end == std::string_view::npos ? mRead.size() : end + 1);
        if (end != std::string_view::npos) {
            break;
        }
    }
    return isThere;
}

std::string FileReader::readRest() {
    std::string rest;
    do {
        rest.append(mRead);
        mRead = readBlock();
    } while (!mRead.empty());
    return rest;
}

std::string_view FileReader::readBlock() {
    mBlock.resize(BLOCK_SIZE);
    const std::size_t size = std::fread(mBlock.data(), 1, mBlock.size(), mFile.get());
    if (size == 0 && std::ferror(mFile.get()) != 0) {
        fail();
    }
    return std::string_view(mBlock).substr(0, size);
}

void FileReader::fail() const {
    throw InputError(mName + ": " + std::strerror(errno));
}

std::string readFile(const std::string& fileName) {
    return FileReader(fileName).readRest();
}

}  // namespace kestrel

#include "tools/base/OutputFile.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "tools/base/InputError.h"

namespace kestrel {

namespace {

namespace fs = std::filesystem;

std::runtime_error cannotWrite(const std::string& name, int error) {
    return std::runtime_error("cannot write " + name + ": " +
                              (error == ENXIO ? "nobody reads it" : std::strerror(error)));
}

// Whether the file is what standard input reads from.
bool isStandardInput(const std::string& name) {
    struct stat file = {};
    struct stat input = {};
    return stat(name.c_str(), &file) == 0 && fstat(STDIN_FILENO, &input) == 0 &&
           S_ISREG(file.st_mode) && file.st_dev == input.st_dev && file.st_ino == input.st_ino;
}

void expectOther(const std::string& name, const std::string& input) {
    std::error_code ignored;  // one of them is not there
    if (input == "-" ? isStandardInput(name) : fs::equivalent(name, input, ignored)) {
        throw InputError(name + ": it is also read, so it cannot be written");
    }
}

// A link of the system's, to a file that is open already.
bool leadsToOpenFile(const fs::path& link) {
    return link.string().starts_with("/proc/");
}

// Where links lead to, also when nothing is there.
fs::path followed(fs::path place) {
    constexpr int MOST_LINKS = 40;
    std::error_code error;
    for (int links = 0; links < MOST_LINKS && !leadsToOpenFile(place); ++links) {
        const fs::path next = fs::read_symlink(place, error);
        if (error) {
            break;  // no link
        }
        place = place.parent_path() / next;
    }
    return place;
}

// That of the file which is there, or what a new one gets.
mode_t modeFor(const fs::path& place) {
    struct stat status = {};
    if (stat(place.c_str(), &status) == 0) {
        return status.st_mode & 07777U;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return 0666U & ~mask;
}

}  // namespace

OutputFile::OutputFile(const std::string& name, const std::vector<std::string>& inputs,
                       const std::optional<std::string>& hostFile)
    : mName(name), mPlace(followed(fs::absolute(name))) {
    if (name == "-") {
        throw InputError("-: a file is needed here, not standard output");
    }
    for (const std::string& input : inputs) {
        expectOther(name, input);
    }
    if (hostFile) {
        expectOther(name, *hostFile);
    }
    std::error_code ignored;
    const bool isThere = fs::exists(mPlace, ignored);
    if (leadsToOpenFile(mPlace) || (isThere && !fs::is_regular_file(mPlace, ignored))) {
        openInPlace();
    } else {
        openBeside();
    }
    mOut.rdbuf(&mBuffer.emplace(mFile));
}

OutputFile::~OutputFile() {
    if (mFile >= 0) {
        ::close(mFile);
    }
    if (!mTemporary.empty()) {
        unlink(mTemporary.c_str());
    }
}

// Opening does not wait for a pipe's reader; writing does.
void OutputFile::openInPlace() {
    mFile = open(mName.c_str(), O_WRONLY | O_TRUNC | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (mFile < 0) {
        throw cannotWrite(mName, errno);
    }
    fcntl(mFile, F_SETFL, fcntl(mFile, F_GETFL) & ~O_NONBLOCK);
}

void OutputFile::openBeside() {
    if (access(mPlace.c_str(), W_OK) != 0 && errno != ENOENT) {
        throw cannotWrite(mName, errno);
    }
    const mode_t mode = modeFor(mPlace);
    std::string temporary = (mPlace.parent_path() / ".kestrelhost-XXXXXX").string();
    mFile = mkostemp(temporary.data(), O_CLOEXEC);
    if (mFile < 0) {
        throw cannotWrite(mName, errno);
    }
    mTemporary = temporary;
    fchmod(mFile, mode);
}

void OutputFile::close() {
    if (!mOut.flush()) {
        throw cannotWrite(mName, mBuffer->error());
    }
    mOut.rdbuf(nullptr);
    if (!mTemporary.empty() && fsync(mFile) != 0) {
        throw cannotWrite(mName, errno);
    }
    const int file = std::exchange(mFile, -1);
    if (::close(file) != 0) {
        throw cannotWrite(mName, errno);
    }
    if (!mTemporary.empty() && std::rename(mTemporary.c_str(), mPlace.c_str()) != 0) {
        throw cannotWrite(mName, errno);
    }
    mTemporary.clear();
}

void OutputFile::closeUnlessOlder() {
    std::error_code ignored;
    if (mTemporary.empty() || !std::filesystem::exists(mPlace, ignored)) {
        close();
    }
}

}  // namespace kestrel

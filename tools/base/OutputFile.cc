#include "tools/base/OutputFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "tools/base/InputError.h"

namespace kestrel {

namespace {

std::runtime_error cannotWrite(const std::string& name) {
    return std::runtime_error("cannot write " + name + ": " + std::strerror(errno));
}

void expectOther(const std::string& name, const std::string& input) {
    std::error_code ignored;  // one of them is not there
    if (std::filesystem::equivalent(name, input, ignored)) {
        throw InputError(name + ": it is also read, so it cannot be written");
    }
}

}  // namespace

OutputFile::OutputFile(const std::string& name, const std::vector<std::string>& inputs,
                       const std::optional<std::string>& hostFile)
    : mName(name) {
    if (name == "-") {
        throw InputError("-: a file is needed here, not standard output");
    }
    for (const std::string& input : inputs) {
        expectOther(name, input);
    }
    if (hostFile) {
        expectOther(name, *hostFile);
    }
    mFile.open(name, std::ios::binary | std::ios::trunc);
    if (!mFile) {
        throw cannotWrite(name);
    }
}

void OutputFile::close() {
    mFile.close();
    if (!mFile) {
        throw cannotWrite(mName);
    }
}

}  // namespace kestrel

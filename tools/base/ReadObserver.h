#pragma once

#include <cstddef>
#include <string>

namespace kestrel {

// Is told how far the reading of a file has come.
class ReadObserver {
 public:
    ReadObserver() = default;
    virtual ~ReadObserver() = default;
    ReadObserver(const ReadObserver&) = delete;
    ReadObserver& operator=(const ReadObserver&) = delete;

    // After each block. `totalBytes`: 0 where it is not known.
    virtual void onRead(const std::string& name, std::size_t doneBytes, std::size_t totalBytes) = 0;
};

}  // namespace kestrel

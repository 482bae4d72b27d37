#pragma once

#include <cstddef>
#include <string>

namespace kestrel {

// Is told how far the reading of an input has come.
class ReadObserver {
 public:
    ReadObserver() = default;
    virtual ~ReadObserver() = default;
    ReadObserver(const ReadObserver&) = delete;
    ReadObserver& operator=(const ReadObserver&) = delete;

    // `totalBytes`: 0 where nobody knows.
    virtual void onRead(const std::string& name, std::size_t doneBytes, std::size_t totalBytes) = 0;
};

}  // namespace kestrel

#pragma once

#include <memory>

#include "tools/base/ByteSource.h"

namespace kestrel {

// What is in a gzip stream, or in several that follow each other; what follows the last one is
// passed over. Not libarchive's, which does not look at the sums.
// Ownership: borrows the source.
// Errors:    as of DecompressedSource.
std::unique_ptr<ByteSource> gzipSource(ByteSource& source);

}  // namespace kestrel

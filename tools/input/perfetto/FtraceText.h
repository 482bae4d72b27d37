#pragma once

#include <string_view>

#include "tools/base/ByteSource.h"
#include "tools/input/ImportedInput.h"

namespace kestrel {

// Whether these can be the first bytes of ftrace's text, as it is or in a page of HTML.
bool looksLikeFtrace(std::string_view beginning);

// The launches of such a text.
// Units:  t is in ms since the device was started.
// Errors: throws InputError when the text, or the page, holds no trace, and what the source throws.
ImportedInput readFtrace(ByteSource& source);

}  // namespace kestrel

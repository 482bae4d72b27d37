#pragma once

// Marks what crosses the boundary between the host library and the feature plug-ins; everything
// else is built with hidden visibility.
#define LM_API __attribute__((visibility("default")))

#pragma once

#include "host/LmApi.h"

// The host's feature status export.
// Threads: any.
class LM_API KSFeaturesList {
 public:
    // Appends a status line: a text, a number and an app. Borrows both texts for the call.
    static void exportToFile(char const* text, int value, char const* app);
};

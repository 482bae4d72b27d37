#pragma once

#include <ostream>
#include <string>

#include "tools/store/LearningStore.h"

namespace kestrel {

// What is stored, for people: all apps in a table, or one in full.
void printApps(std::ostream& out, const LearningStore& store);
void printApp(std::ostream& out, const std::string& app, const StoredApp& stored);

}  // namespace kestrel

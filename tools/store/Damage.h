#pragma once

#include "tools/store/LearningStore.h"

namespace kestrel {

// How a damaged database is told, by every command that reads one.

// Names each damaged file on standard error, with SQLite's words.
void tellDamage(const LearningStore& store);

// Throws std::runtime_error when a file is damaged.
void expectUndamaged(const LearningStore& store);

}  // namespace kestrel

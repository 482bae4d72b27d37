#include "tools/store/Damage.h"

#include <iostream>
#include <stdexcept>

#include "tools/base/TerminalText.h"

namespace kestrel {

void tellDamage(const LearningStore& store) {
    for (const StoreFile& file : store.files) {
        if (!file.damage.empty()) {
            std::cerr << printable(file.name) << ": " << printable(file.damage) << '\n';
        }
    }
}

void expectUndamaged(const LearningStore& store) {
    if (store.isDamaged()) {
        throw std::runtime_error("not everything could be read");
    }
}

}  // namespace kestrel

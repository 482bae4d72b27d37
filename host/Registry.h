#pragma once

#include <mutex>
#include <new>
#include <string>
#include <unordered_map>
#include <utility>

#include "host/LmApi.h"
#include "lmdb/LMLog.h"

class Feature;
struct FeatureInfo;

// The host's table of factories by name, shared by all plug-ins of the process.
// Ownership: the map is made by whoever registers first and lives as long as the process.
// Threads:   classList and the map under mMutex.
template <class Base, class Info>
class LM_API RegistryBase {
 public:
    using Factory = Base* (*)(Info);
    using ClassList = std::unordered_map<std::string, Factory>;

    static ClassList* classList;  // null until the first registration
    static std::mutex mMutex;
};

// Defined in the host library; a copy in a plug-in would be one that the host never sees.
extern template class LM_API RegistryBase<Feature, FeatureInfo>;

// Makes a `Derived`; null when there is no memory for it. Throws what its constructor throws. The
// caller owns the result.
template <class Base, class Info, class Derived>
Base* createClassObj(Info info) {
    return new (std::nothrow) Derived(info);
}

// Enters the factory of `Derived` under a name; made as a file-scope object, so that it runs when
// the plug-in is loaded. The first registration of a name wins.
template <class Base, class Info, class Derived>
class Registry : public RegistryBase<Base, Info> {
 public:
    explicit Registry(const std::string& name) {
        using Shared = RegistryBase<Base, Info>;
        const std::lock_guard<std::mutex> lock(Shared::mMutex);
        if (Shared::classList == nullptr) {
            Shared::classList = new (std::nothrow) typename Shared::ClassList;
        }
        if (Shared::classList == nullptr) {
            LM_LOG("FeatureRegistry", "Registry", 97,
                   "getMap() returned nullptr, Class %s not registered", name.c_str());
            return;
        }
        Shared::classList->emplace(name, &createClassObj<Base, Info, Derived>);
    }
};

#include "action/KestrelStartsFeatureHw.h"

#include <locale>
#include <new>
#include <sstream>
#include <unordered_map>
#include <utility>
#include <vector>

#include "feature/KestrelStartsFeature.h"
#include "host/CpPLHController.h"
#include "lmdb/LMLog.h"

namespace {

constexpr int PLH_INIT_KEY = 23;

using ConfigMap = std::unordered_map<std::string, std::string>;

// The integers of a list separated by "," or blanks, up to the first thing that is not one.
std::vector<int> parseClusterIds(std::string const& text) {
    std::vector<int> ids;
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());  // another one may take the "," for part of a number
    for (int id = 0; stream >> id;) {
        ids.push_back(id);
        if (stream.peek() == ',') {
            stream.ignore();
        }
    }
    return ids;
}

// "Init:" + how many of the listed clusters have an entry + ":ID,ENTRY" for each; empty for none.
std::string buildInitCommand(ConfigMap const& config, std::string const& clusterList) {
    std::string clusters;
    int count = 0;
    for (const int id : parseClusterIds(clusterList)) {
        const auto entry = config.find("Cluster" + std::to_string(id));
        if (entry == config.end()) {
            continue;
        }
        clusters += ":" + std::to_string(id) + "," + entry->second;
        ++count;
    }
    return count == 0 ? std::string() : "Init:" + std::to_string(count) + clusters;
}

}  // namespace

KestrelStartsFeatureHw::KestrelStartsFeatureHw(KestrelStartsFeature& feature) : mFeature(feature) {
    const auto createController = [this] {
        ConfigMap const& config = mFeature.mFeatureInfo.configMap;
        const auto list = config.find("Cluster");
        if (list != config.end() && list->second.empty()) {
            return;
        }
        const std::string initCommand =
            list != config.end() ? buildInitCommand(config, list->second) : "";
        std::vector<std::pair<int, std::string>> init = {{PLH_INIT_KEY, initCommand}};
        std::pair<int, std::string> none = {PLH_INIT_KEY, "0"};
        mCpController = new (std::nothrow) CpPLHController(init, none, none, "", nullptr);
    };
    guarded(createController, [this](const char* what) {
        if (what != nullptr) {
            LM_LOG("KestrelStartsHW", "KestrelStartsFeatureHw", 66, "exception %s\n", what);
        }
        delete mCpController;
        mCpController = nullptr;
    });
}

KestrelStartsFeatureHw::~KestrelStartsFeatureHw() {
    delete mCpController;
}

void KestrelStartsFeatureHw::Start(std::string& duration) {
    if (mCpController != nullptr) {
        mCpController->commandCp(PLH_CMD_START, duration, 0);
    }
}

void KestrelStartsFeatureHw::Stop() {
    if (mCpController != nullptr) {
        mCpController->commandCp(PLH_CMD_STOP, "", 0);
    }
}

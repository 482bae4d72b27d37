#pragma once

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "host/linux/ForwardingVfs.h"

namespace kestrel {

// Keeps, before every call that changes files, what a disk may hold if the power goes there.
// Threads: one at a time. The files are small; each image holds them all.
class PowerCutVfs : public ForwardingVfs {
 public:
    using Files = std::map<std::string, std::string>;  // content by name
    struct Image {
        std::size_t event;  // the mEvent of its time
        Files written;      // all that was written so far
        Files durable;      // each file as of its last completed sync
    };

    explicit PowerCutVfs(std::filesystem::path directory)
        : ForwardingVfs("powercut"), mDirectory(std::move(directory)), mDurable(readAll()) {}

    std::optional<int> intercept(VfsCall call, const char* file) noexcept override {
        if (call == VfsCall::write || call == VfsCall::sync || call == VfsCall::truncate ||
            call == VfsCall::remove) {
            images.push_back(take());
            if (call == VfsCall::sync) {
                mSyncing = std::filesystem::path(file).filename();
            }
        }
        return std::nullopt;
    }

    // What the disk holds now.
    Image take() {
        Files written = readAll();
        if (!mSyncing.empty() && written.contains(mSyncing)) {
            mDurable[mSyncing] = written[mSyncing];
        }
        mSyncing.clear();
        std::erase_if(mDurable, [&](const auto& file) { return !written.contains(file.first); });
        return {event, written, mDurable};
    }

    // Of each sector that was not synced, either the old or the new content, as `seed` decides.
    static Files torn(const Image& image, std::size_t seed) {
        constexpr std::size_t SECTOR = 512;
        Files files;
        for (const auto& [name, content] : image.written) {
            const auto old = image.durable.find(name);
            std::string mixed = content;
            for (std::size_t at = 0; at < mixed.size(); at += SECTOR) {
                const std::size_t size = std::min(SECTOR, mixed.size() - at);
                if (std::hash<std::string>{}(name + std::to_string(at + seed)) % 2 == 0) {
                    std::string before(size, '\0');
                    if (old != image.durable.end() && at < old->second.size()) {
                        before.replace(0, std::min(size, old->second.size() - at), old->second, at,
                                       size);
                    }
                    mixed.replace(at, size, before, 0, size);
                }
            }
            files[name] = mixed;
        }
        return files;
    }

    std::vector<Image> images;
    std::size_t event = 0;

 private:
    Files readAll() const {
        Files files;
        for (const auto& entry : std::filesystem::directory_iterator(mDirectory)) {
            const std::string name = entry.path().filename();
            if (!name.ends_with("-shm")) {  // made anew when a database is opened
                std::ifstream content(entry.path(), std::ios::binary);
                files[name] = {std::istreambuf_iterator<char>(content), {}};
            }
        }
        return files;
    }

    std::filesystem::path mDirectory;
    std::string mSyncing;  // its sync completes before the next call
    Files mDurable;        // at first, all that was there
};

}  // namespace kestrel

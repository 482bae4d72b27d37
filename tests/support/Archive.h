#pragma once

#include <archive.h>
#include <archive_entry.h>

#include <string>
#include <vector>

namespace kestrel {

struct StoredMember {
    std::string name;
    std::string content;
    bool knowsSize = true;  // else the size comes behind the content
    unsigned type = AE_IFREG;
};

// Makes archives and compressed streams.
class ArchiveMaker {
 public:
    ArchiveMaker() : mArchive(archive_write_new()) {}
    ~ArchiveMaker() { archive_write_free(mArchive); }
    ArchiveMaker(const ArchiveMaker&) = delete;
    ArchiveMaker& operator=(const ArchiveMaker&) = delete;

    static std::string zip(const std::vector<StoredMember>& members,
                           const char* options = nullptr) {
        ArchiveMaker maker;
        archive_write_set_format_zip(maker.mArchive);
        archive_write_set_options(maker.mArchive, options);
        archive_write_set_passphrase(maker.mArchive, "secret");
        return maker.made(members);
    }

    static std::string tar(const std::vector<StoredMember>& members) {
        ArchiveMaker maker;
        archive_write_set_format_ustar(maker.mArchive);
        return maker.made(members);
    }

    // `filter`: ARCHIVE_FILTER_...
    static std::string compressed(const std::string& content, int filter) {
        ArchiveMaker maker;
        archive_write_add_filter(maker.mArchive, filter);
        archive_write_set_format_raw(maker.mArchive);
        return maker.made({{"content", content}});
    }

 private:
    static la_ssize_t write(archive* /*archive*/, void* made, const void* block, size_t size) {
        static_cast<std::string*>(made)->append(static_cast<const char*>(block), size);
        return static_cast<la_ssize_t>(size);
    }

    std::string made(const std::vector<StoredMember>& members) {
        std::string made;
        archive_write_set_bytes_in_last_block(mArchive, 1);
        archive_write_open(mArchive, &made, nullptr, write, nullptr);
        for (const StoredMember& member : members) {
            archive_entry* const entry = archive_entry_new();
            archive_entry_set_pathname(entry, member.name.c_str());
            archive_entry_set_filetype(entry, member.type);
            archive_entry_set_perm(entry, 0644);
            if (member.type == AE_IFLNK) {
                archive_entry_set_symlink(entry, member.content.c_str());
            } else if (member.knowsSize) {
                archive_entry_set_size(entry, static_cast<la_int64_t>(member.content.size()));
            }
            archive_write_header(mArchive, entry);
            archive_write_data(mArchive, member.content.data(), member.content.size());
            archive_entry_free(entry);
        }
        archive_write_close(mArchive);
        return made;
    }

    archive* mArchive;
};

}  // namespace kestrel

#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "tools/base/ByteSource.h"
#include "tools/base/FileSource.h"
#include "tools/input/archive/ArchiveHandle.h"

struct archive_entry;

namespace kestrel {

// Whether bytes that begin so are an archive: zip, or tar if there are 262 of them.
bool looksLikeArchive(std::string_view beginning);

struct ArchiveMember {
    std::string name;  // as the archive gives it, in UTF-8
    // Why its content is not read: "it is encrypted". Empty: it is.
    std::string obstacle;
};

// The members of an archive one after the other, as they are stored; folders are passed over.
// Nothing is unpacked: of a content only one block is in memory.
// Ownership: borrows the file.
// Errors:    every operation throws InputError, also for an archive that is damaged, ends early or
//            has too many members.
class ArchiveReader {
 public:
    static constexpr std::size_t KS_MAX_MEMBERS = 100000;

    // Begins at the file's beginning. REQUIRES: file.isRegular().
    explicit ArchiveReader(FileSource& file);

    // False: there is no other.
    bool next(ArchiveMember& member);

    // Goes on to the next member of this name. False: there is none.
    bool find(const std::string& name);

    // The content of the member that next() or find() gave last, named "ARCHIVE/MEMBER", until the
    // next call of them. Reading one with an obstacle throws that.
    ByteSource& content() { return mContent; }

 private:
    class Content : public ByteSource {
     public:
        explicit Content(ArchiveReader& reader) : mReader(reader) {}
        const std::string& name() const override { return mReader.mContentName; }
        std::string_view read() override;

     private:
        ArchiveReader& mReader;
    };

    bool open();
    archive_entry* nextEntry();
    [[noreturn]] void fail(const std::string& name, const std::string& what) const;

    std::string mName;
    ArchiveHandle mHandle;
    bool mIsOpen = false;
    std::size_t mEntries = 0;
    std::string mContentName;
    std::string mObstacle;
    bool mContentEnded = true;
    Content mContent;
};

// What is done with a member, whose content may be read or not.
using MemberCallback = std::function<void(const ArchiveMember& member, ByteSource& content)>;

// From the file's beginning, all but folders.
void forEachMember(FileSource& file, const MemberCallback& callback);

}  // namespace kestrel

#include "tools/input/archive/ArchiveReader.h"

#include <archive.h>
#include <archive_entry.h>
#include <locale.h>

#include <algorithm>

#include "tools/base/InputError.h"

namespace kestrel {

namespace {

// Of a zip's directory, which the library holds in memory as a whole.
constexpr std::size_t MAX_DIRECTORY = std::size_t{32} << 20;

// Made once, as that reads files.
locale_t utf8Locale() {
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale != nullptr ? locale : LC_GLOBAL_LOCALE;
}

// While it lives, the library hands out names in UTF-8.
class Utf8Names {
 public:
    Utf8Names() : mBefore(uselocale(utf8Locale())) {}
    ~Utf8Names() { uselocale(mBefore); }
    Utf8Names(const Utf8Names&) = delete;
    Utf8Names& operator=(const Utf8Names&) = delete;

 private:
    locale_t mBefore;
};

bool hasFolderUp(std::string_view name) {
    while (true) {
        const std::size_t end = name.find_first_of("/\\");
        if (name.substr(0, end) == "..") {
            return true;
        }
        if (end == std::string_view::npos) {
            return false;
        }
        name.remove_prefix(end + 1);
    }
}

std::string obstacleOf(archive_entry* entry, std::string_view name) {
    if (archive_entry_hardlink(entry) != nullptr || archive_entry_filetype(entry) == AE_IFLNK) {
        return "it is a link, which is not followed";
    }
    if (archive_entry_filetype(entry) != AE_IFREG) {
        return "it is no regular file";
    }
    if (name.empty() || name.front() == '/' || name.front() == '\\' || hasFolderUp(name)) {
        return "its name leads out of the archive";
    }
    return archive_entry_is_encrypted(entry) != 0 ? "it is encrypted" : "";
}

}  // namespace

bool looksLikeArchive(std::string_view beginning) {
    constexpr std::size_t TAR_MARK = 257;
    return beginning.starts_with("PK\x03\x04") || beginning.starts_with("PK\x05\x06") ||
           (beginning.size() > TAR_MARK && beginning.substr(TAR_MARK).starts_with("ustar"));
}

ArchiveReader::ArchiveReader(FileSource& file)
    : mName(file.name()), mHandle(file), mContent(*this) {
    file.rewind();
}

bool ArchiveReader::open() {
    mIsOpen = true;
    archive_read_support_format_zip(mHandle.get());
    archive_read_support_format_tar(mHandle.get());
    mHandle.limitReading(MAX_DIRECTORY);  // it is read before the first member
    return mHandle.open();
}

bool ArchiveReader::next(ArchiveMember& member) {
    const Utf8Names names;
    mContentEnded = true;
    archive_entry* const entry = nextEntry();
    if (entry == nullptr) {
        return false;
    }
    const char* const name = archive_entry_pathname(entry);
    member.name = name != nullptr ? name : "";
    member.obstacle = obstacleOf(entry, member.name);
    mContentName = mName + '/' + member.name;
    mObstacle = member.obstacle;
    mContentEnded = false;
    return true;
}

bool ArchiveReader::find(const std::string& name) {
    ArchiveMember member;
    while (next(member)) {
        if (member.name == name) {
            return true;
        }
    }
    return false;
}

// Null: there is no other.
archive_entry* ArchiveReader::nextEntry() {
    archive_entry* entry = nullptr;
    do {
        if (!mIsOpen && !open()) {
            fail(mName, "the archive " + mHandle.reason());
        }
        const int result = mHandle.checked(archive_read_next_header(mHandle.get(), &entry));
        mHandle.limitReading(SIZE_MAX);
        if (result == ARCHIVE_EOF) {
            return nullptr;
        }
        if (result != ARCHIVE_OK && result != ARCHIVE_WARN) {
            fail(mName, "the archive " + mHandle.reason());
        }
        if (++mEntries > KS_MAX_MEMBERS) {
            fail(mName, "the archive has more than " + std::to_string(KS_MAX_MEMBERS) + " entries");
        }
    } while (archive_entry_filetype(entry) == AE_IFDIR);
    return entry;
}

std::string_view ArchiveReader::Content::read() {
    if (mReader.mContentEnded) {
        return {};
    }
    if (!mReader.mObstacle.empty()) {
        mReader.fail(name(), mReader.mObstacle);
    }
    bool failed = false;
    const std::string_view block = mReader.mHandle.readBlock(failed);
    mReader.mContentEnded = block.empty();
    if (failed) {
        mReader.fail(name(), "its data " + mReader.mHandle.reason());
    }
    return block;
}

void forEachMember(FileSource& file, const MemberCallback& callback) {
    ArchiveReader reader(file);
    ArchiveMember member;
    while (reader.next(member)) {
        callback(member, reader.content());
    }
}

void ArchiveReader::fail(const std::string& name, const std::string& what) const {
    throw InputError(name + ": " + what);
}

}  // namespace kestrel

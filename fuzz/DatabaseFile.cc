// Any bytes as a database file, that of the learned records: what is read and written then.

#include <filesystem>
#include <fstream>

#include "fuzz/FuzzHost.h"
#include "host/linux/RelocatingVfs.h"
#include "learning/LearningRecords.h"
#include "lmdb/LMDBRows.h"
#include "tools/base/TemporaryDirectory.h"

using namespace kestrel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static const TemporaryDirectory root;
    const std::filesystem::path file = root.path() / "data/vendor/lm/KestrelStartsAction.db";
    std::filesystem::remove_all(root.path() / "data");
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    RelocatingVfs::install(root.path().string(), false);
    playSilently({});
    LMDatabase<KSPerfdOutput> db(0, KS_OUTPUT_DB_FILE, KS_OUTPUT_TABLE);
    if (db.openLMdb() != LMDB_SUCCESS) {
        return 0;
    }
    LMDBDataRowKey all;
    LMDBDataRowKey one{4225, "com.a", ""};
    if (db.getCountDR<KSPerfdOutput>(one) < 0) {
        __builtin_trap();
    }
    LMDBRows<KSPerfdOutput> read(db, db.readAllocateDR<KSPerfdOutput>(all));
    LMDBRows<KSPerfdOutput> added(db, db.getRow(1));
    added.rows.front()->appName = "com.a";
    added.rows.front()->intcol1 = 4225;
    db.writeDeallocateDR<KSPerfdOutput>(added.rows);
    db.writeDeallocateDR<KSPerfdOutput>(read.rows);
    LMDBRows<KSPerfdOutput> again(db, db.readAllocateDR<KSPerfdOutput>(one));
    db.deleteDeallocateDR<KSPerfdOutput>(again.rows);
    return 0;
}

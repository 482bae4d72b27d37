// SQLiteCpp against SQLite's C interface, on the store's cases.

#include <SQLiteCpp/SQLiteCpp.h>

#include <memory>

#include "bench/StoreCases.h"

namespace {

constexpr const char* CREATE =
    "CREATE TABLE IF NOT EXISTS launches(intcol1 INTEGER, appName TEXT NOT null, rsvdName TEXT, "
    "blob BLOB)";

std::string whereText(const BareKey& key) {
    if (key.appName == nullptr) {
        return {};
    }
    return std::string("WHERE (appName,intcol1) = ('") + key.appName + "'," +
           std::to_string(key.intcol1) + ") ";
}

// Reads give each row a memory of its own, as the store does.
template <class Payload>
class Wrapper : public RowsInHand<Payload> {
 public:
    using Row = BareRow<Payload>;
    using Rows = std::vector<std::unique_ptr<Row>>;

    explicit Wrapper(const std::string& path)
        : mDb(path.empty() ? ":memory:" : path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE) {
        if (!path.empty()) {
            mDb.exec("PRAGMA journal_mode=WAL");
        }
        mDb.exec(CREATE);
    }

    sqlite3* db() { return mDb.getHandle(); }

    void load(const BareKey& key) { this->mRows = readRows(key); }

    void write() {
        SQLite::Statement insert(
            mDb, "INSERT INTO launches(intcol1, appName, rsvdName, blob) VALUES (?,?,?,?)");
        SQLite::Statement update(mDb,
                                 "UPDATE launches SET (intcol1, appName, rsvdName, blob) = "
                                 "(?,?,?,?) WHERE (rowid) = (?)");
        SQLite::Transaction transaction(mDb, SQLite::TransactionBehavior::IMMEDIATE);
        for (const auto& row : this->mRows) {
            SQLite::Statement& statement = row->rowid != 0 ? update : insert;
            statement.clearBindings();
            statement.bind(1, row->intcol1);
            statement.bindNoCopy(2, row->appName);
            if (!row->rsvdName.empty()) {
                statement.bindNoCopy(3, row->rsvdName);
            }
            statement.bindNoCopy(4, &row->blob, sizeof(Payload));
            if (row->rowid != 0) {
                statement.bind(5, static_cast<int32_t>(row->rowid));
            }
            statement.exec();
            statement.reset();
        }
        this->mRows.clear();
        transaction.commit();
    }

    void erase() {
        SQLite::Statement statement(mDb, "DELETE FROM launches WHERE (rowid) = (?)");
        SQLite::Transaction transaction(mDb, SQLite::TransactionBehavior::IMMEDIATE);
        for (const auto& row : this->mRows) {
            statement.bind(1, static_cast<int32_t>(row->rowid));
            statement.exec();
            statement.reset();
        }
        transaction.commit();
        this->mRows.clear();
    }

    int read(const BareKey& key) { return static_cast<int>(readRows(key).size()); }

    int count(const BareKey& key) {
        SQLite::Statement statement(mDb, "SELECT COUNT(*) FROM launches " + whereText(key));
        statement.executeStep();
        return statement.getColumn(0).getInt();
    }

 private:
    Rows readRows(const BareKey& key) {
        Rows rows;
        SQLite::Statement statement(mDb, "SELECT *, rowid FROM launches " + whereText(key));
        while (statement.executeStep()) {
            Row& row = *rows.emplace_back(std::make_unique<Row>());
            if (const SQLite::Column column = statement.getColumn(0); !column.isNull()) {
                row.intcol1 = column.getInt();
            }
            row.appName = statement.getColumn(1).getText();
            row.rsvdName = statement.getColumn(2).getText();
            const SQLite::Column blob = statement.getColumn(3);
            const void* bytes = blob.getBlob();
            if (blob.getBytes() == sizeof(Payload)) {
                std::memcpy(&row.blob, bytes, sizeof(Payload));
            }
            row.rowid = statement.getColumn(4).getInt64();
        }
        return rows;
    }

    SQLite::Database mDb;
};

}  // namespace

int main(int argc, char** argv) {
    keepFreedMemory();
    expectSameOutcome<Wrapper<SmallPayload>, Bare<SmallPayload>>("the wrapper");
    registerCases<Bare, Wrapper>({"bare", "wrapper"});
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
}

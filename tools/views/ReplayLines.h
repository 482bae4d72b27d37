#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "tools/input/InputSequence.h"
#include "tools/launches/LaunchObserver.h"
#include "tools/session/SessionObserver.h"
#include "tools/views/Table.h"

namespace kestrel {

// What a person sees of a replay: a line for each launch, for what was measured and for what was
// decided, and a table per app at the end. Fits 80 columns.
// Ownership: borrows the stream and what is played.
class ReplayLines : public LaunchObserver, public SessionObserver {
 public:
    // `showLog`: every log line too, else only those that do not belong to every day.
    ReplayLines(std::ostream& out, const InputSequence& inputs, bool showLog)
        : mOut(out), mInputs(inputs), mShowLog(showLog) {}

    void onRecord(const HostRecord& entry) override;
    void onObjectEnd() override;
    void onInputEnd() override;
    void onEnd(const SessionEnd& end) override;

    void onLaunchHandled(const Launch& launch) override;
    void onMeasured(const MeasuredRun& run) override;
    void onMark(const AppMark& mark) override;
    void onFinish(const LaunchFold& fold) override;

 private:
    struct Line {
        int64_t t;
        std::string text;
        const Table* table;  // that it is a row of; null: it stands outside
    };
    struct Totals {
        int launches = 0;
        int measured = 0;
        int32_t state = 0;
    };

    void addNote(int64_t t, const std::string& app, const std::string& note);
    void addLine(int64_t t, std::vector<Table::Cell> cells);  // without the time
    void add(Line line);
    void printLines();
    void printTable(const LearningStore& stored);

    std::ostream& mOut;
    const InputSequence& mInputs;
    bool mShowLog;
    bool mPrintedHeadings = false;
    bool mInObject = false;
    std::vector<Line> mLines;  // of the object being handled
    std::map<std::string, Totals> mApps;
    std::string mOff;  // why the feature was off; empty: it was on
};

}  // namespace kestrel

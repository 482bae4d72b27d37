#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/Feature.h"
#include "host/KestrelStartsHints.h"
#include "learning/LearningRecords.h"

class KestrelStartsAction;
class KestrelStartsFeatureHw;

// For which launches the feature is on.
inline constexpr uint8_t KS_STATUS_OFF = 0;
inline constexpr uint8_t KS_STATUS_ON = 1;
inline constexpr uint8_t KS_STATUS_WITH_PROFILE = 2;  // on, with the hardware profile

// Boosts each app launch, measures it while the app is being learned, and learns per app how long
// a boost should last.
//
// Two names are derived from an event's app, and are not interchangeable. The full name is the text
// as delivered: rows, states and the boosts of launches go by it. The short name ends before the
// first "/": the ignore list, the launched app and the boost of an app that attaches go by it.
//
// Ownership: owns the input database, the meta meter and the hardware profile; all live as long as
//            the feature. The action singleton is the process's.
// Threads:   constructed, driven (runAsync and all that it calls) and destroyed by the host, one
//            call at a time; getData on anyone's, it only reads.
// Errors:    what could not be made stays null, and the operations that need it log that. The
//            operations that touch the stores log what they catch, unless they say otherwise.
class KestrelStartsFeature : public Feature {
 public:
    // Throws what allocation or the host throws, and then leaks nothing.
    explicit KestrelStartsFeature(FeatureInfo info);
    ~KestrelStartsFeature() override;

    using Feature::getData;

    // The dispatcher of events. Lets no exception out.
    void runAsync(AsyncTriggerPayload payload) override;
    void runAsyncIdle(std::atomic<bool> const& stop) override;

    // Answers what is known of an app: KS_DATA_LAUNCH_DURATION and KS_DATA_SECOND_METRIC from its
    // learned record, else averaged over its stored launches; KS_DATA_LEARNING_PID 0 once it is
    // learned, else its process id, at least 1. 0, or -1 when there is nothing to answer from.
    // Throws what allocation and the host throw.
    // REQUIRES: data.value is 0; an average adds to it.
    int getData(std::string& app, featureData& data, int type) override;

    // ---- construction
    // Opens the input database unless it is open; logs a failure and leaves it null.
    void createMeterDataDb();

    // ---- the app's data and its boost
    // Deletes the app's learned record or, when there is none, its stored launches; and its state.
    void removeFromDatabase(KestrelStartsAction* action, std::string& app);
    // Boosts a launch and keeps the handle in mPerfLockHandle. The handle, or -1 when the feature
    // is off or the payload is no launch. Throws what allocation and the host throw.
    int applyAction(KestrelStartsAction* action, AsyncTriggerPayload const& payload);
    // Releases what applyAction has requested.
    void removeAction(KestrelStartsAction* action);

    // ---- learning: statistics
    // The average of the rows' durations without zeros and outliers, in ms; 0 when there is none.
    // REQUIRES: count is at most the number of rows.
    void getAvgLaunchValues(std::vector<LMDBDataRow<KSInputDbData>*> rows, int count, int& average);
    // One outlier pass against the mean of the first k values; true when it removed one or failed.
    bool cleanEpDataSet(std::vector<int>& dataSet, int k);
    // The average of an app whose launches measured nothing: 0, noted in a CSV file.
    void getAvgLaunchValuesForced(std::vector<LMDBDataRow<KSInputDbData>*> rows, int& average);
    // Clamps the duration by launch type and app class; true when that changed it.
    bool skewLaunchDuration(int& duration, int launchType, int appClass, std::string const& app);

    // ---- learning: decision and relearning
    // Evaluates the stored launches of the app, once there are enough: a learned record, or the
    // feature disabled for it.
    void checkWriteOutputDB(KestrelStartsAction* action, AsyncTriggerPayload const& payload);
    // Takes the rows over. Throws what allocation and the host throw.
    // REQUIRES: the input database is open.
    void disableFeature(std::vector<LMDBDataRow<KSInputDbData>*> rows,
                        AsyncTriggerPayload const& payload, int average);
    // The class that the host's classifier gives the app; 0 when it gives none.
    int isHeavyGame(std::string app);
    // Counts a launch of a learned app; true when that sent it back to learning.
    bool checkRelearningTrigger(KestrelStartsAction* action, AsyncTriggerPayload const& payload);

    LMDatabase<KSInputDbData>* mFeatureInputDb = nullptr;  // owned; null if it did not open
    int32_t mPerfLockHandle = -1;                          // the launch boost's; below 1: none
    int32_t mAttachHintArg = -1;                           // hintArg of the latest attach hint
    uint8_t mKgmStatus = KS_STATUS_OFF;                    // game launches
    uint8_t mKapStatus = KS_STATUS_OFF;                    // ordinary launches
    bool mAttachHintEnabled = false;                       // attach hints are answered
    std::vector<std::string> mIgnoredApps;         // short names; coming forward ends no launch
    std::string mLastLaunchedApp;                  // short name; empty: no launch is open
    KestrelStartsFeatureHw* mFeatureHw = nullptr;  // owned; null unless a status asks for it

 private:
    struct Members {};
    KestrelStartsFeature(FeatureInfo const& info, Members);

    bool isOff() const { return mKgmStatus == KS_STATUS_OFF && mKapStatus == KS_STATUS_OFF; }
    bool readEnablement();
    // REQUIRES, from here: the action is there, and what else the caller has tested.
    void decide(KestrelStartsAction* action, AsyncTriggerPayload const& payload);
    // The duration that the launches in `rows` come to, of `count` that are stored; none when they
    // disable the app, which takes the rows over.
    std::optional<int> evaluate(std::vector<LMDBDataRow<KSInputDbData>*>& rows, int32_t count,
                                AsyncTriggerPayload const& payload);
    // By the app's state, writes the decision and deletes the launches, or deletes the record. Rows
    // that are left stay the caller's.
    void storeDecision(LMDatabase<KSPerfdOutput>& outputDb,
                       std::vector<LMDBDataRow<KSInputDbData>*>& rows,
                       AsyncTriggerPayload const& payload, int durationMs);

    void dispatch(KestrelStartsAction* action, AsyncTriggerPayload& payload);
    bool acceptsLaunch(AsyncTriggerPayload const& payload) const;
    void endLaunch(KestrelStartsAction* action, AsyncTriggerPayload& payload);
    void passToMeter(AsyncTriggerPayload const& payload);
    void handleLaunch(KestrelStartsAction* action, AsyncTriggerPayload& payload);
    void releaseBoost(KestrelStartsAction* action);
};

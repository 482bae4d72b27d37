#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "host/Feature.h"
#include "learning/LearningRecords.h"

class KestrelStartsAction;
class KestrelStartsFeatureHw;

// Boosts each app launch, measures it while the app is being learned, and learns per app how long
// a boost should last.
//
// Two names are derived from an event's app: the full name is the text as delivered, and keys rows
// and states; the short name ends before the first "/", and tells apps apart on the screen.
//
// Ownership: owns the input database, the meta meter and the hardware profile; all live as long as
//            the feature. The action singleton is the process's.
// Threads:   constructed, driven (runAsync and all that it calls) and destroyed by the host, one
//            call at a time; getData on anyone's, it only reads.
// Errors:    what could not be made stays null, and the operations that need it log that.
class KestrelStartsFeature : public Feature {
 public:
    // Throws what allocation or the host throws, and then leaks nothing.
    explicit KestrelStartsFeature(FeatureInfo info);
    ~KestrelStartsFeature() override;

    using Feature::getData;

    // The dispatcher of events. Lets no exception out once the event has been accepted.
    void runAsync(AsyncTriggerPayload payload) override;
    void runAsyncIdle(std::atomic<bool> const& stop) override;

    // Answers what is known of an app: KS_DATA_LAUNCH_DURATION and KS_DATA_SECOND_METRIC from its
    // learned record, else averaged over its stored launches (`data.value` comes in as 0);
    // KS_DATA_LEARNING_PID 0 once it is learned, else its process id, at least 1. 0, or -1 when
    // there is nothing to answer from. Throws what allocation and the host throw.
    int getData(std::string& app, featureData& data, int type) override;

    // ---- construction
    void createMeterDataDb();

    // ---- the app's data and its boost
    void removeFromDatabase(KestrelStartsAction* action, std::string& app);
    int applyAction(KestrelStartsAction* action, AsyncTriggerPayload const& payload);
    void removeAction(KestrelStartsAction* action);

    // ---- learning: statistics
    // The average of the rows' durations without zeros and outliers, in ms; 0 when there is none.
    void getAvgLaunchValues(std::vector<LMDBDataRow<KSInputDbData>*> rows, int count, int& average);
    // One outlier pass against the mean of the first k values; true when it removed one.
    bool cleanEpDataSet(std::vector<int>& dataSet, int k);
    // The average of an app whose launches measured nothing: 0, noted in a CSV file.
    void getAvgLaunchValuesForced(std::vector<LMDBDataRow<KSInputDbData>*> rows, int& average);
    // Clamps the duration by launch type and app class; true when that changed it.
    bool skewLaunchDuration(int& duration, int launchType, int appClass, std::string const& app);

    // ---- learning: decision and relearning
    void checkWriteOutputDB(KestrelStartsAction* action, AsyncTriggerPayload const& payload);
    // Takes the rows over.
    void disableFeature(std::vector<LMDBDataRow<KSInputDbData>*> rows,
                        AsyncTriggerPayload const& payload, int average);
    int isHeavyGame(std::string app);
    bool checkRelearningTrigger(KestrelStartsAction* action, AsyncTriggerPayload const& payload);

    LMDatabase<KSInputDbData>* mFeatureInputDb = nullptr;  // owned; null if it did not open
    int32_t mPerfLockHandle = -1;                          // the launch boost's; below 1: none
    int32_t mAttachHintArg = -1;                           // hintArg of the latest attach hint
    uint8_t mKgmStatus = 0;           // game launches: 0 off, 1 on, 2 with the hardware profile
    uint8_t mKapStatus = 0;           // ordinary launches, the same
    bool mAttachHintEnabled = false;  // attach hints are answered
    std::vector<std::string> mIgnoredApps;         // short names; coming forward ends no launch
    std::string mLastLaunchedApp;                  // short name; empty: no launch is open
    KestrelStartsFeatureHw* mFeatureHw = nullptr;  // owned; null unless a status is 2

 private:
    struct Members {};
    KestrelStartsFeature(FeatureInfo const& info, Members);

    bool isOff() const { return mKgmStatus == 0 && mKapStatus == 0; }
    bool readEnablement();
    void decide(KestrelStartsAction* action, AsyncTriggerPayload const& payload);

    void dispatch(KestrelStartsAction* action, AsyncTriggerPayload& payload);
    bool acceptsLaunch(AsyncTriggerPayload const& payload) const;
    void endLaunch(KestrelStartsAction* action, AsyncTriggerPayload& payload);
    void passToMeter(AsyncTriggerPayload const& payload);
    void handleLaunch(KestrelStartsAction* action, AsyncTriggerPayload& payload);
    void releaseBoost(KestrelStartsAction* action);
};

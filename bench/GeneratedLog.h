#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <format>
#include <iterator>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

// Writes a log as `adb logcat -v threadtime` prints it, always the same: lines of some 140 bytes
// from many tags, and at every 2000th line a launch with what usually comes with it.
// Ownership: borrows both streams.
class GeneratedLog {
 public:
    // `launches` gets only the lines that tell of launches.
    GeneratedLog(std::ostream& log, std::ostream& launches) : mLog(log), mLaunches(launches) {}

    void write(std::size_t sizeBytes) {
        writeEverywhere(
            "--------- beginning of main\n--------- beginning of system\n"
            "--------- beginning of events\n");
        for (std::size_t line = 0; mWritten < sizeBytes; ++line) {
            mTimeMs += static_cast<int64_t>(below(15));
            writeOfLaunch(line % KS_LAUNCH_LINES);
            writeOther();
        }
    }

 private:
    static constexpr std::size_t KS_LAUNCH_LINES = 2000;

    static constexpr std::array<std::string_view, 13> KS_WORDS = {
        "Audio", "Battery", "Camera",  "Display", "Input", "Job",   "Location",
        "Media", "Network", "Package", "Sensor",  "Usage", "Window"};
    static constexpr std::array<std::string_view, 9> KS_ENDINGS = {
        "Service", "Manager", "Controller", "Hal", "Client", "Policy", "Flinger", "d", "Monitor"};
    static constexpr std::array<std::string_view, 8> KS_PHRASES = {
        "request from uid {} for org.example.app{}",
        "onStateChanged({} -> {})",
        "finished in {} ms, {} left",
        "binder call {} took {} us",
        "caller=org.example.app{}/.Service{}",
        "value [{},{}] is the same as before",
        "buffer 0x7f{:06x} of {} bytes",
        "session {} has no listener for {}"};

    // What the system's own tags say without telling of launches.
    static constexpr std::array<std::string_view, 5> KS_SYSTEM_PHRASES = {
        "I ActivityManager: Start proc {}:org.example.app{}/u0a150 for service",
        "W ActivityTaskManager: Activity pause timeout for record {} of task {}",
        "I am_proc_start: [0,{},10150,org.example.app{},service,org.example/.Service]",
        "I wm_task_moved: [{},{},1,0,3]", "I am_pss : [{},10150,org.example.app{},73400320,0,0]"};

    std::size_t below(std::size_t limit) { return mRandom() % limit; }

    template <class List>
    std::string_view anyOf(const List& list) {
        return list[below(list.size())];
    }

    void writeOfLaunch(std::size_t place) {
        const std::string activity = std::format("org.example.app{}/.MainActivity", mLaunch % 60);
        const int64_t tookMs = mTimeMs - mBeganMs;
        if (place == 0) {
            mBeganMs = mTimeMs;
            writeLaunchLine(std::format(
                "I ActivityTaskManager: START u0 {{act=android.intent.action.MAIN "
                "cat=[android.intent.category.LAUNCHER] flg=0x10200000 cmp={} "
                "bnds=[54,1203][270,1465]}} with LAUNCH_SINGLE_TASK from uid 10150 result code=0",
                activity));
        } else if (place == 5) {
            writeLaunchLine(
                std::format("I wm_create_activity: [0,{},71,{},"
                            "android.intent.action.MAIN,NULL,NULL,270532608]",
                            mLaunch, activity));
        } else if (place == 10) {
            writeLaunchLine(
                std::format("I wm_set_resumed_activity: [0,{},"
                            "minimalResumeActivityLocked]",
                            activity));
        } else if (place == 60 && mLaunch % 4 != 0) {
            writeLaunchLine(std::format("I ActivityTaskManager: Displayed {} for user 0: +{}ms",
                                        activity, tookMs));
        } else if (place == 61 && mLaunch % 3 != 0) {
            writeLaunchLine(
                std::format("I wm_activity_launch_time: [0,182053922,{},{}]", activity, tookMs));
        } else if (place == 1000) {
            ++mLaunch;
            writeLaunchLine(
                "I ActivityTaskManager: START u0 {act=android.intent.action.MAIN "
                "cat=[android.intent.category.HOME] flg=0x10200000 "
                "cmp=org.example.launcher/.Home} from uid 1000 result code=0");
        }
    }

    void writeLaunchLine(std::string_view entry) {
        writeEverywhere(std::format("{}{}\n", head(mTimeMs), entry));
    }

    void writeEverywhere(std::string_view text) {
        writeToLog(text);
        mLaunches << text;
    }

    void writeOther() {
        // The buffers of a device do not interleave exactly.
        mLine = head(below(500) == 0 ? std::max<int64_t>(mTimeMs - 20, 0) : mTimeMs);
        if (below(20) == 0) {
            addPhrase(anyOf(KS_SYSTEM_PHRASES));
        } else {
            addOtherEntry();
        }
        mLine += '\n';
        writeToLog(mLine);
    }

    void addOtherEntry() {
        const std::size_t length = mLine.size() + 40 + below(120);
        mLine += "VDDDIIIWE"[below(9)];
        mLine += ' ';
        mLine += anyOf(KS_WORDS);
        mLine += anyOf(KS_ENDINGS);
        mLine += ":";
        while (mLine.size() < length) {
            mLine += ' ';
            addPhrase(anyOf(KS_PHRASES));
        }
    }

    void addPhrase(std::string_view phrase) {
        const std::size_t first = below(5000);
        const std::size_t second = below(60);
        std::vformat_to(std::back_inserter(mLine), phrase, std::make_format_args(first, second));
    }

    void writeToLog(std::string_view text) {
        mLog << text;
        mWritten += text.size();
    }

    // Up to the priority. The log begins on a 14th of March.
    std::string head(int64_t timeMs) {
        const int64_t second = timeMs / 1000;
        return std::format("03-{} {:02}:{:02}:{:02}.{:03} {:5} {:5} ", 14 + second / 86400,
                           second / 3600 % 24, second / 60 % 60, second % 60, timeMs % 1000,
                           1000 + below(40), 2000 + below(300));
    }

    std::ostream& mLog;
    std::ostream& mLaunches;
    std::mt19937 mRandom{20260314};
    std::string mLine;
    std::size_t mWritten = 0;
    std::size_t mLaunch = 0;
    int64_t mTimeMs = 0;
    int64_t mBeganMs = 0;
};

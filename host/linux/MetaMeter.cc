#include "host/MetaMeter.h"

#include <cmath>
#include <string_view>
#include <utility>

#include "host/KestrelStartsHints.h"
#include "host/linux/Elapsed.h"
#include "host/linux/HostRuntime.h"
#include "host/linux/MeterRuns.h"

using namespace kestrel;

namespace {

std::string_view packageOf(std::string_view app) {
    return app.substr(0, app.find('/'));
}

}  // namespace

// ---- Meter, LaunchMeter

Meter::~Meter() = default;

void Meter::getTriggerPayloads(std::vector<AsyncTriggerPayload>& /*payloads*/) {}

LaunchMeter::~LaunchMeter() = default;

void LaunchMeter::getTriggerPayloads(std::vector<AsyncTriggerPayload>& payloads) {
    payloads.insert(payloads.end(), mTriggerPayloads.begin(), mTriggerPayloads.end());
}

float LaunchMeter::calcDiffPercentage(float mean, float value) {
    return std::fabs(value - mean) / mean * 100.0F;
}

// ---- MeterRuns

void MeterRuns::handleEvent(AsyncTriggerPayload const& payload) {
    if (payload.hintId == KS_LAUNCH_HINT && payload.hintType == KS_HINT_TYPE_LAUNCH) {
        start(payload);
        return;
    }
    if (mOpen == nullptr ||
        (payload.hintId != KS_HINT_METER_EVENT && payload.hintId != KS_HINT_LAUNCH_END)) {
        return;
    }
    mOpen->meter.mTriggerPayloads.push_back(payload);
    if (payload.hintId == KS_HINT_LAUNCH_END) {
        finish();
        return;
    }
    if (!mOpen->sawFrame && packageOf(payload.appName) == packageOf(mOpen->app)) {
        mOpen->sawFrame = true;
        mOpen->meter.measuredDuration = elapsedMs(mOpen->startedAt, HostRuntime::instance().time());
    }
}

void MeterRuns::start(AsyncTriggerPayload const& payload) {
    if (mOpen != nullptr) {
        mOpen->meter.aborted = !mOpen->sawFrame;
        finish();
    }
    mOpen = std::make_unique<Run>();
    mOpen->app = payload.appName;
    mOpen->startedAt = HostRuntime::instance().time();
    mOpen->meter.mTriggerPayloads.push_back(payload);
}

void MeterRuns::finish() {
    mFinished.push_back(std::move(mOpen));
}

void MeterRuns::handOver(MetaMeter& metaMeter) {
    if (mFinished.empty()) {
        return;
    }
    mMeterThread.run([&] {
        for (const auto& run : std::exchange(mFinished, {})) {
            LaunchMeter& meter = run->meter;
            const int result = metaMeter.writeToDataBase({&meter});
            HostRuntime::instance().record(
                record::Measured{run->app, meter.measuredDuration, meter.aborted, result});
        }
    });
}

// ---- MetaMeter

MetaMeter::MetaMeter(FeatureInfo const& /*info*/, FeatureState& /*state*/)
    : mRuns(std::make_unique<MeterRuns>()) {}

MetaMeter::~MetaMeter() = default;

int MetaMeter::writeToDataBase(std::vector<Meter*> /*meters*/) {
    return 0;
}

int MetaMeter::getSyncData(std::vector<Meter*> /*meters*/) {
    return 0;
}

void MetaMeter::handleAsync(AsyncTriggerPayload const& payload) {
    HostRuntime::instance().record(
        record::Meter{payload.hintId, payload.hintType, payload.hintArg, payload.appName});
    mRuns->handleEvent(payload);
}

void MetaMeter::handOverFinishedRuns() {
    mRuns->handOver(*this);
}

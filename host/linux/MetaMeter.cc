#include "host/MetaMeter.h"

#include <cmath>
#include <utility>

#include "host/linux/HostRuntime.h"
#include "host/linux/MeterRuns.h"

using namespace kestrel;

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
    if (LaunchRun::begins(payload.hintId, payload.hintType)) {
        start(payload);
        return;
    }
    if (mOpen == nullptr ||
        !mOpen->run.take(payload.hintId, payload.appName, HostRuntime::instance().time())) {
        return;
    }
    mOpen->meter.mTriggerPayloads.push_back(payload);
    mOpen->meter.measuredDuration = mOpen->run.durationMs().value_or(0);
    if (mOpen->run.endT()) {
        finish();
    }
}

void MeterRuns::start(AsyncTriggerPayload const& payload) {
    if (mOpen != nullptr) {
        mOpen->meter.aborted = !mOpen->run.frameT();
        finish();
    }
    mOpen =
        std::make_unique<Measurement>(LaunchRun(payload.appName, HostRuntime::instance().time()));
    mOpen->meter.mTriggerPayloads.push_back(payload);
}

void MeterRuns::finish() {
    mFinished.push_back(std::move(mOpen));
}

void MeterRuns::endInput() {
    if (mOpen != nullptr && mOpen->run.frameT()) {
        finish();
    }
    mOpen.reset();
}

void MeterRuns::handOver(MetaMeter& metaMeter) {
    if (mFinished.empty()) {
        return;
    }
    mMeterThread.run([&] {
        for (const auto& finished : std::exchange(mFinished, {})) {
            LaunchMeter& meter = finished->meter;
            const int result = metaMeter.writeToDataBase({&meter});
            HostRuntime::instance().record(record::Measured{
                finished->run.app(), meter.measuredDuration, meter.aborted, result});
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

void MetaMeter::endInput() {
    mRuns->endInput();
    mRuns->handOver(*this);
}

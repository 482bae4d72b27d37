#include "tools/launches/FeatureSwitch.h"

#include "host/KestrelStartsHints.h"

namespace kestrel {

void FeatureSwitch::add(const record::Knob& knob) {
    mAskedKnobs = true;
    mKnobOn = mKnobOn || knob.enabled;
}

void FeatureSwitch::add(const record::Property& property) {
    mAskedProperties = true;
    const bool isTrue = property.value == "true";
    if (property.name == KS_PROPERTY_APPS) {
        mApps = isTrue;
    } else if (property.name == KS_PROPERTY_GAMES) {
        mGames = isTrue;
    }
}

FeatureSwitch::State FeatureSwitch::state() const {
    if (!mKnobOn) {
        return mAskedKnobs ? State::knobsOff : State::noKnobLibrary;
    }
    if (!mAskedProperties) {
        return State::noProperties;
    }
    if (mApps) {
        return mGames ? State::on : State::gamesOff;
    }
    return mGames ? State::appsOff : State::bothOff;
}

}  // namespace kestrel

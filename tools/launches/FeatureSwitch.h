#pragma once

#include <string>

#include "host/linux/HostRecord.h"

namespace kestrel {

// For which launches the feature is on, and what keeps it off, told by what it asked of the
// platform when it was constructed.
class FeatureSwitch {
 public:
    enum class State {
        on,
        noKnobLibrary,
        knobsOff,      // the knob library reports neither of the feature's numbers
        noProperties,  // the performance service cannot be asked for properties
        appsOff,       // games only
        gamesOff,      // apps only
        bothOff,       // neither property is "true"
    };

    void add(const record::Knob& knob);
    void add(const record::Property& property);

    State state() const;

 private:
    bool mAskedKnobs = false;
    bool mKnobOn = false;
    bool mAskedProperties = false;
    bool mApps = false;
    bool mGames = false;
};

}  // namespace kestrel

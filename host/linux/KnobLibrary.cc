// libskewknob.so: the platform's knob library. The plug-in opens it by its name.

#include "host/linux/PlatformServices.h"

using namespace kestrel;

extern "C" LM_API int IsFeatureEnabled(int feature) {
    return isKnobEnabled(feature) ? 1 : 0;
}

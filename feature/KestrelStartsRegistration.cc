// Enters the feature in the host's registry when the plug-in is loaded. Compiled into the plug-in
// itself: nothing refers to this object, so a static library would lose it.

#include "feature/KestrelStartsFeature.h"
#include "host/Registry.h"

namespace {

const Registry<Feature, FeatureInfo, KestrelStartsFeature> KS_REGISTRATION("KestrelStarts");

}  // namespace

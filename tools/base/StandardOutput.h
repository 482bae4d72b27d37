#pragma once
#include "tools/base/Interruption.h"

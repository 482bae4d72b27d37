#pragma once
#include "tools/input/Input.h"

#pragma once

#include "../../../platform/cansupport/GenericSignal.h"

#pragma once

#include "../../../platform/cansupport/CANopenDataType.h"

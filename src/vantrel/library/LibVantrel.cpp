#include <vantrel/library/LibVantrel.h>

#include "canVocabulary.h"

LibVantrel::LibVantrel() {}

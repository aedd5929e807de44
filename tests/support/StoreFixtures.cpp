// Shared set-up of store tests; everything is inline in the header.
#include "StoreFixtures.h"

#include "support/guitestsupport.h"

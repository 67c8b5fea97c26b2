#include "com/com.h"

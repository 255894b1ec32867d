#include "platform/vb_text.h"

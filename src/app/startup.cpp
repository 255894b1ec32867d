#include "app/startup.h"

void StartProgram() {}

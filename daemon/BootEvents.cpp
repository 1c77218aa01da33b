#include "daemon/BootEvents.h"

// Boot helper partitions are not rebuilt yet: what is not done touches no disk and claims nothing.
void CheckBootHelperPartitionsAtStartup() {}

void HandleBootDriverEvent(THXDaemonTool*, const TDriverEventRecord*) {}

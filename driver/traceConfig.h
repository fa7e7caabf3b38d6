#ifndef DRIVER_TRACECONFIG_H
#define DRIVER_TRACECONFIG_H

#include "config/VarnelConfig.h"

/// Traces the base DN sections of a configuration; does nothing else.
void traceConfig(VarnelConfig config);

#endif

// Logging through a CParent whose process (and so whose log) may be missing.
// Macros rather than functions so the printf format checks still see the literal.
#pragma once
#include "foundation/log.h"
#include "foundation/parent.h"

#define KV_TRACE(parent, ...)                                  \
    do {                                                       \
        if (CLog* kvTrace_ = (parent).Trace()) kvTrace_->Log(__VA_ARGS__); \
    } while (0)

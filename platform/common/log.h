#pragma once

#include "vadro/sysloglevel.h"

// The short form of a log call, built on the kit's public header alone, so that it serves with every kit. A source file
// that logs names the word for its lines once, at namespace scope:
//
//     constexpr char s_acLogFile[] = "scheduler";
//
// The rest is printf's: LOG_WARNING("Failed to insert DynDnsStatus for DynDnsId %d", iId). With the tree's kit nothing
// is formatted for a level that is off. A text from outside is an argument, never the format.

/// One line of the class around it, through its handle m_iModuleId.
#define LOG_DEBUG(...) LOG_TO(m_iModuleId, debug, __VA_ARGS__)
#define LOG_INFO(...) LOG_TO(m_iModuleId, info, __VA_ARGS__)
#define LOG_WARNING(...) LOG_TO(m_iModuleId, warning, __VA_ARGS__)
#define LOG_ERROR(...) LOG_TO(m_iModuleId, error, __VA_ARGS__)

/// One line through a handle from elsewhere; the level is debug, info, warning or error.
#define LOG_TO(handle, level, ...) VADRO_Sysloglevel_##level(handle, s_acLogFile, __LINE__, VAStr(__VA_ARGS__))

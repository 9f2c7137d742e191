#pragma once

/// @file
/// Desktop stand-ins for the phone framework's out-of-line pieces: ClientUtils::itos,
/// MarloException, Serializer and the logging functions declared in framework/Utilities.h,
/// plus the settings that the desktop tools need. The encoding side of Serializer is in
/// ListEncoding.h.

#include <string>

#include "CommunicationsService/framework/Visibility.h"

/// The desktop framework's own settings and helpers.
namespace desktop {

/// Switches logging on or off. logAppOxa writes to standard error only once logging is
/// switched on (it starts off), and loggingOnAppOxa tells whether it is.
FRAMEWORK_API void setLogging(bool enabled);

/// Sees every call of the two logging functions, for tests and tools.
class FRAMEWORK_API LogObserver {
public:
    virtual ~LogObserver() = default;
    /// loggingOnAppOxa was asked about @p component at @p level.
    virtual void asked(const char* component, int level) = 0;
    /// logAppOxa was called with these arguments, whether logging is on or not.
    virtual void written(const char* component, const char* sourceFile, int level, int line,
                         const char* message) = 0;
};

/// Replaces the observer; nullptr removes it. The caller keeps ownership.
FRAMEWORK_API void setLogObserver(LogObserver* observer);

} // namespace desktop

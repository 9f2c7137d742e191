#pragma once

/// @file
/// Desktop stand-ins for the phone framework's out-of-line pieces: ClientUtils::itos,
/// MarloException, Serializer and the logging functions declared in framework/Utilities.h,
/// plus the settings and the encoding side that the desktop tools need.

#include <string>
#include <vector>

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

/// The list encoding that Serializer::deserialize reads back. Each item is followed by ';'.
/// Numbers are written in decimal. In texts the bytes '%', ';', '<', '>', '&' and every
/// byte below 0x20 or from 0x7F up are written as '%' and two upper-case hex digits, so
/// an encoded list can stand inside a message element. The empty list is the empty text.
FRAMEWORK_API std::string serializeList(const std::vector<int>& values);
/// Encodes a list of texts in the same encoding; see the list of numbers above.
FRAMEWORK_API std::string serializeList(const std::vector<std::string>& values);

} // namespace desktop

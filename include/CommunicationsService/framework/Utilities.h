#pragma once

#include <exception>
#include <string>
#include <vector>

#include "CommunicationsService/framework/Visibility.h"

/// @file
/// Out-of-line framework pieces: the framework links them in on the phone, the desktop
/// framework on a desktop. The plug-in only declares them.

/// Text helpers of the framework.
class FRAMEWORK_API ClientUtils {
public:
    /// The decimal text of @p value, with a leading `-` when it is negative.
    static std::string itos(int value);
};

/// Decodes the framework's list encoding, in which lists travel inside message elements.
class FRAMEWORK_API Serializer {
public:
    /// The texts of the encoded list @p text; an empty text is the empty list.
    static std::vector<std::string> deserialize(std::string& text);
    /// Appends the numbers of the encoded list @p text to @p values.
    /// @return whether @p text was a well-formed list of numbers.
    static bool deserialize(std::string& text, std::vector<int>& values);
};

/// The framework's exception. CommunicationsServiceIfc::subscribe lets it through to the
/// caller.
class FRAMEWORK_API MarloException : public std::exception {
public:
    /// An exception that describes itself as @p what.
    explicit MarloException(std::string what);
    /// A copy of @p other.
    MarloException(const MarloException& other);
    /// Takes the description of @p other.
    MarloException& operator=(const MarloException& other);
    ~MarloException() override;
    /// The description given at construction.
    const char* what() const noexcept override;

private:
    std::string description;
};

/// Tells whether messages of @p level are to be logged for @p component: non-zero when
/// they are. Ask before each logAppOxa.
extern "C++" FRAMEWORK_API int loggingOnAppOxa(const char* component, int level);
/// Writes one log line.
/// @param component   the component that logs, as asked with loggingOnAppOxa.
/// @param sourceFile  the source file that logs.
/// @param level       the message's level, as asked with loggingOnAppOxa.
/// @param line        the source line that logs.
/// @param message     the text to log.
extern "C++" FRAMEWORK_API void logAppOxa(const char* component, const char* sourceFile, int level,
                                          int line, const char* message);

#pragma once

#include <exception>
#include <string>
#include <vector>

#include "framework/Visibility.h"

// Out-of-line framework pieces: the framework links them in on the phone, the desktop
// framework on a desktop. The plug-in only declares them.

class FRAMEWORK_API ClientUtils {
public:
    static std::string itos(int value);
};

class FRAMEWORK_API Serializer {
public:
    static std::vector<std::string> deserialize(std::string& text);
    static bool deserialize(std::string& text, std::vector<int>& values);
};

class FRAMEWORK_API MarloException : public std::exception {
public:
    explicit MarloException(std::string what);
    MarloException(const MarloException& other);
    MarloException& operator=(const MarloException& other);
    ~MarloException() override;
    const char* what() const noexcept override;

private:
    std::string description;
};

extern "C++" FRAMEWORK_API int loggingOnAppOxa(const char* component, int level);
extern "C++" FRAMEWORK_API void logAppOxa(const char* component, const char* sourceFile, int level,
                                          int line, const char* message);

#include "CommunicationsService/desktop/Framework.h"
#include "CommunicationsService/desktop/ListEncoding.h"

#include <atomic>
#include <charconv>
#include <cstdio>

#include "CommunicationsService/framework/Utilities.h"

namespace {

std::atomic<bool> loggingEnabled{false};
std::atomic<desktop::LogObserver*> logObserver{nullptr};

bool needsEscape(unsigned char byte) {
    return byte < 0x20 || byte >= 0x7F || byte == '%' || byte == ';' || byte == '<' ||
           byte == '>' || byte == '&';
}

int hexValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    return -1;
}

// Splits at each ';'. A last item without its ';' still counts, so "1;2" reads as 1 and 2.
template <typename Visit> void forEachItem(const std::string& text, Visit visit) {
    std::size_t begin = 0;
    while (begin < text.size()) {
        std::size_t end = text.find(';', begin);
        if (end == std::string::npos) end = text.size();
        visit(text.substr(begin, end - begin));
        begin = end + 1;
    }
}

// A '%' that is not followed by two hex digits stands for itself.
std::string unescape(const std::string& item) {
    std::string bytes;
    bytes.reserve(item.size());
    for (std::size_t i = 0; i < item.size(); ++i) {
        if (item[i] == '%' && i + 2 < item.size() && hexValue(item[i + 1]) >= 0 &&
            hexValue(item[i + 2]) >= 0) {
            bytes.push_back(static_cast<char>(hexValue(item[i + 1]) * 16 + hexValue(item[i + 2])));
            i += 2;
        } else {
            bytes.push_back(item[i]);
        }
    }
    return bytes;
}

} // namespace

std::string ClientUtils::itos(int value) { return std::to_string(value); }

MarloException::MarloException(std::string what) : description(std::move(what)) {}
MarloException::MarloException(const MarloException& other) = default;
MarloException& MarloException::operator=(const MarloException& other) = default;
MarloException::~MarloException() = default;
const char* MarloException::what() const noexcept { return description.c_str(); }

int loggingOnAppOxa(const char* component, int level) {
    if (desktop::LogObserver* observer = logObserver.load()) observer->asked(component, level);
    return loggingEnabled.load() ? 1 : 0;
}

void logAppOxa(const char* component, const char* sourceFile, int level, int line,
               const char* message) {
    if (desktop::LogObserver* observer = logObserver.load()) {
        observer->written(component, sourceFile, level, line, message);
    }
    if (loggingEnabled.load()) {
        std::fprintf(stderr, "[%s] %s:%d level %d: %s\n", component, sourceFile, line, level,
                     message);
    }
}

std::vector<std::string> Serializer::deserialize(std::string& text) {
    std::vector<std::string> values;
    forEachItem(text, [&](const std::string& item) { values.push_back(unescape(item)); });
    return values;
}

bool Serializer::deserialize(std::string& text, std::vector<int>& values) {
    bool wellFormed = true;
    forEachItem(text, [&](const std::string& item) {
        int value = 0;
        const char* end = item.data() + item.size();
        const auto parsed = std::from_chars(item.data(), end, value);
        if (item.empty() || parsed.ec != std::errc() || parsed.ptr != end) {
            wellFormed = false;
            return;
        }
        values.push_back(value);
    });
    return wellFormed;
}

namespace desktop {

void setLogging(bool enabled) { loggingEnabled.store(enabled); }

void setLogObserver(LogObserver* observer) { logObserver.store(observer); }

std::string serializeList(const std::vector<int>& values) {
    std::string text;
    for (const int value : values)
        text.append(std::to_string(value)).push_back(';');
    return text;
}

std::string serializeList(const std::vector<std::string>& values) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string text;
    for (const std::string& value : values) {
        for (const char byte : value) {
            const auto code = static_cast<unsigned char>(byte);
            if (needsEscape(code)) {
                text.push_back('%');
                text.push_back(kHex[code >> 4]);
                text.push_back(kHex[code & 0x0F]);
            } else {
                text.push_back(byte);
            }
        }
        text.push_back(';');
    }
    return text;
}

} // namespace desktop

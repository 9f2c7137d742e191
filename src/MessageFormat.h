#pragma once

#include <string>
#include <string_view>

#include "CommunicationsService/CommunicationsServiceTypes.h"

// The rules of the message format that both readers share: result words, state names,
// numbers, and the field readers of the proxy's and the invoker's public members.

// The result code of a bare answer word, compared whole; anything else is a failure (0).
int resultOf(std::string_view response);

// The wire name of a service state; "" for a value outside the enumeration.
std::string serialize(sfiServiceState state);
std::string_view serviceStateName(sfiServiceState state);

// strtol with base 10, saturated to the 32-bit range of the phone's long on every host.
long strtol32(const char* text);

// The proxy's reader of answers. The end tag is searched from position 0, not from the
// value: one that is missing or stands before the value lets the value run to the end.
std::string answerText(std::string_view startTag, std::string_view message,
                       std::string_view endTag);
// Its number: -1 when the start tag is missing, else strtol32 of the text above.
long answerNumber(std::string_view startTag, std::string_view message, std::string_view endTag);

// The invoker's reader of events. The end tag must follow the start tag, otherwise the
// field counts as missing ("").
std::string eventText(std::string_view startTag, std::string_view message, std::string_view endTag);
// Its number: -1 when either tag is missing, else strtol32 of the value.
long eventNumber(std::string_view startTag, std::string_view message, std::string_view endTag);

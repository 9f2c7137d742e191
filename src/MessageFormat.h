#pragma once

#include <string>

#include "CommunicationsServiceTypes.h"

// The result code of a bare answer word; anything unknown is a failure (0).
int resultOf(const std::string& response);

// The wire name of a service state; "" for a value outside the enumeration.
std::string serialize(sfiServiceState state);

// strtol with base 10, saturated to the 32-bit range of the phone's long on every host.
long strtol32(const char* text);

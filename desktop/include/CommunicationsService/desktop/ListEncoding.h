#pragma once

/// @file
/// The writing side of the framework's list encoding, in which lists travel inside message
/// elements: what the service does to a list before it sends it, for the desktop service
/// and for tests that write events. Built into the desktop framework.

#include <string>
#include <vector>

#include "CommunicationsService/framework/Visibility.h"

namespace desktop {

/// The list encoding that Serializer::deserialize reads back. Each item is followed by ';'.
/// Numbers are written in decimal. In texts the bytes '%', ';', '<', '>', '&' and every
/// byte below 0x20 or from 0x7F up are written as '%' and two upper-case hex digits, so
/// an encoded list can stand inside a message element. The empty list is the empty text.
FRAMEWORK_API std::string serializeList(const std::vector<int>& values);
/// Encodes a list of texts in the same encoding; see the list of numbers above.
FRAMEWORK_API std::string serializeList(const std::vector<std::string>& values);

} // namespace desktop

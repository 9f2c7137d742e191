#pragma once

#include <cstddef>
#include <string>

#include "CommunicationsService/CommunicationsServiceTypes.h"
#include "EventMessages.h"

class ProxyRequest;

namespace bench {

// The generic DOM way: pugixml parses the message wrapped in a root element, then each of
// the event's values is read by its element name. Returns a checksum.
std::size_t readWithPugixml(const std::string& wrapped, const Event& event);

// holdCall written through a default-constructed std::ostringstream and sent as the proxy
// sends it.
int holdCallThroughStream(ProxyRequest& channel, const std::string& line, int callId,
                          sfiFeature reason, bool manual);

// The floor for reading a message: one vectorised pass over its bytes, counting the '<'.
std::size_t countOpenings(const std::string& message);

} // namespace bench

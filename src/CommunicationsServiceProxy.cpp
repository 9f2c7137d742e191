#include "CommunicationsServiceProxy.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "MessageFormat.h"
#include "CommunicationsService/framework/Utilities.h"

namespace {

constexpr int kTimeout = 100000;
constexpr const char* kLogComponent = "SIP Communications Service";
constexpr const char* kLogSourceFile = "./src/CommunicationsServiceProxy.cpp";
constexpr int kLogLevel = 5;

// One request in the envelope. The fields are collected first and written at the end into
// one string of exactly the request's length, so that a request costs one allocation
// however long its values are. A null C string stops the text right after its field's
// opening tag and drops everything after it, which is what the service has always
// received for such a request.
class Request {
public:
    explicit Request(std::string_view method)
        : method(method), size(kOpenMethod.size() + method.size() + kCloseMethod.size()) {}
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    Request& text(std::string_view tag, std::string_view value) {
        if (!truncated) add(tag).value = value;
        return *this;
    }
    Request& text(std::string_view tag, const char* value) {
        if (value != nullptr) return text(tag, std::string_view(value));
        if (!truncated) add(tag).closed = false;
        truncated = true;
        return *this;
    }
    Request& decimal(std::string_view tag, int value) {
        if (truncated) return *this;
        Field& field = add(tag);
        char* const digits = decimals[count - 1];
        const auto written = std::to_chars(digits, digits + sizeof decimals[0], value);
        field.value = std::string_view(digits, static_cast<std::size_t>(written.ptr - digits));
        return *this;
    }
    Request& flag(std::string_view tag, bool value) { return text(tag, value ? "1" : "0"); }
    Request& word(std::string_view tag, bool value) { return text(tag, value ? "TRUE" : "FALSE"); }
    // The pass-through requests format numbers with the framework's own helper; its texts
    // are kept together and found by their place among them.
    Request& number(std::string_view tag, int value) {
        if (truncated) return *this;
        Field& field = add(tag);
        field.spelledAt = spelled.size();
        spelled += ClientUtils::itos(value);
        field.spelledSize = spelled.size() - field.spelledAt;
        return *this;
    }
    Request& payload(std::string_view value) {
        if (!truncated) trailer = value;
        return *this;
    }

    std::string str() const {
        std::size_t total = size + trailer.size();
        for (std::size_t i = 0; i < count; ++i) {
            if (fields[i].closed) total += valueOf(fields[i]).size() + fields[i].tag.size() + 3;
        }
        std::string message(total, '\0');
        char* out = put(message.data(), kOpenMethod);
        out = put(put(out, method), kCloseMethod);
        for (std::size_t i = 0; i < count; ++i) {
            const Field& field = fields[i];
            *out++ = '<';
            out = put(out, field.tag);
            *out++ = '>';
            if (!field.closed) break;
            out = put(out, valueOf(field));
            *out++ = '<';
            *out++ = '/';
            out = put(out, field.tag);
            *out++ = '>';
        }
        put(out, trailer);
        return message;
    }

private:
    static constexpr std::string_view kOpenMethod = "<Method>";
    static constexpr std::string_view kCloseMethod = "</Method>";
    static constexpr std::size_t kMaxFields = 6;
    static constexpr std::size_t kNotSpelled = static_cast<std::size_t>(-1);

    struct Field {
        std::string_view tag;
        std::string_view value;
        std::size_t spelledAt;
        std::size_t spelledSize;
        bool closed;
    };

    template <std::size_t Width> static void copyWord(char* out, const char* from) {
        char word[Width];
        std::memcpy(word, from, Width);
        std::memcpy(out, word, Width);
    }

    // Tags and most values are short: they are copied in two overlapping words, and only
    // long pieces cost a call of memcpy (which must never see the null pointer that an
    // empty view may hold).
    static char* put(char* out, std::string_view piece) {
        const char* const from = piece.data();
        const std::size_t size = piece.size();
        if (size > 16) {
            std::memcpy(out, from, size);
        } else if (size >= 8) {
            copyWord<8>(out, from);
            copyWord<8>(out + size - 8, from + size - 8);
        } else if (size >= 4) {
            copyWord<4>(out, from);
            copyWord<4>(out + size - 4, from + size - 4);
        } else {
            for (std::size_t i = 0; i < size; ++i) out[i] = from[i];
        }
        return out + size;
    }

    std::string_view valueOf(const Field& field) const {
        if (field.spelledAt == kNotSpelled) return field.value;
        return std::string_view(spelled).substr(field.spelledAt, field.spelledSize);
    }

    Field& add(std::string_view tag) {
        if (count == kMaxFields) throw std::length_error("Request: too many fields");
        fields[count] = Field{tag, {}, kNotSpelled, 0, true};
        size += tag.size() + 2;
        return fields[count++];
    }

    std::string_view method;
    std::size_t size;
    Field fields[kMaxFields];
    char decimals[kMaxFields][12];
    std::size_t count = 0;
    std::string spelled;
    std::string_view trailer;
    bool truncated = false;
};

std::string exchange(ProxyRequest& channel, const std::string& request,
                     std::string response = {}) {
    channel.sendRequest(request, response);
    return response;
}

int ask(ProxyRequest& channel, const Request& request) {
    return resultOf(exchange(channel, request.str()));
}

void post(ProxyRequest& channel, const Request& request) { channel.sendOneWay(request.str()); }

bool contains(const std::string& text, const char* word) {
    return text.find(word) != std::string::npos;
}

// Answers to the yes/no queries: a failure word anywhere wins, then "true" anywhere.
int readFlagAnswer(const std::string& response, bool& value) {
    if (contains(response, "sfiFailure")) return sfiFailure;
    value = contains(response, "true");
    return sfiSuccess;
}

void log(int line, const char* message) {
    if (loggingOnAppOxa(kLogComponent, kLogLevel) != 0) {
        logAppOxa(kLogComponent, kLogSourceFile, kLogLevel, line, message);
    }
}

} // namespace

CommunicationsServiceProxy::CommunicationsServiceProxy() : requestChannel(nullptr) {}

CommunicationsServiceProxy::~CommunicationsServiceProxy() = default;

void CommunicationsServiceProxy::initProxy(ProxyRequest& channel) {
    requestChannel = &channel;
    requestChannel->setProtocol("CommunicationsServiceProtocol");
}

void CommunicationsServiceProxy::processSignallingComponentEvent(const char* data, int length) {
    std::string message = "SigEvent:";
    // A negative length is a huge size; refuse it with the text the phone has always given.
    const auto size = static_cast<std::size_t>(static_cast<long long>(length));
    if (size > message.max_size() - message.size()) {
        throw std::length_error("basic_string::append");
    }
    message.append(data, size);
    requestChannel->sendOneWay(message);
}

int CommunicationsServiceProxy::activate() {
    std::string response;
    requestChannel->sendRequestTimed("<Method>Activate</Method>", response, kTimeout);
    return resultOf(response);
}

int CommunicationsServiceProxy::deactivate(bool allowAutoActivate) {
    return ask(*requestChannel, Request("Deactivate").flag("AllowAutoActivate", allowAutoActivate));
}

int CommunicationsServiceProxy::subscribe(Executable* subscriber) {
    log(277, "subscribe start");
    if (subscriber == nullptr) return sfiFailure;
    const std::string request = "<Method>Subscribe</Method>";
    std::string response;
    const std::string channelName = requestChannel->context->findChannel(subscriber);
    try {
        requestChannel->sendSubscribe(request, response, channelName, kTimeout);
    } catch (MarloException& caught) {
        log(298, "subscribe exception caught:");
        throw MarloException(caught);
    }
    log(302, "subscribe end");
    return resultOf(response);
}

std::string CommunicationsServiceProxy::csCommunicationsService(const char* /*name*/) { return {}; }

void CommunicationsServiceProxy::activateStoredFwd() {}

// Call control.

int CommunicationsServiceProxy::outgoingCallMake(const std::string& line, int callId,
                                                 const char* destination, bool dssDirectCall,
                                                 bool bridgeCall, bool callCompletionCall) {
    return ask(*requestChannel, Request("OutgoingCallMakeRequest")
                                    .text("Line", line)
                                    .decimal("CallID", callId)
                                    .text("Destination", destination)
                                    .flag("DSSDirectCall", dssDirectCall)
                                    .flag("BridgeCall", bridgeCall)
                                    .flag("CallCompletionCall", callCompletionCall));
}

int CommunicationsServiceProxy::acceptCall(const std::string& line, int callId, bool autoAnswer) {
    return ask(*requestChannel, Request("AcceptCall")
                                    .text("Line", line)
                                    .decimal("CallID", callId)
                                    .flag("AutoAnswer", autoAnswer));
}

int CommunicationsServiceProxy::answerCall(const std::string& line, int callId) {
    return ask(*requestChannel, Request("AnswerCall").text("Line", line).decimal("CallID", callId));
}

int CommunicationsServiceProxy::deflectCall(const std::string& line, int callId,
                                            const char* destination) {
    return ask(*requestChannel, Request("DeflectCall")
                                    .text("Line", line)
                                    .decimal("CallID", callId)
                                    .text("Destination", destination));
}

int CommunicationsServiceProxy::holdCall(const std::string& line, int callId,
                                         sfiFeature holdCallReason, bool manual) {
    return ask(*requestChannel, Request("HoldCall")
                                    .text("Line", line)
                                    .decimal("CallID", callId)
                                    .decimal("HoldCallReason", holdCallReason)
                                    .flag("Manual", manual));
}

int CommunicationsServiceProxy::retrieveCall(const std::string& line, int callId) {
    return ask(*requestChannel,
               Request("RetrieveCall").text("Line", line).decimal("CallID", callId));
}

int CommunicationsServiceProxy::callClear(const std::string& line, int callId,
                                          CSTAEventCause cause) {
    return ask(*requestChannel, Request("CallClearRequest")
                                    .text("Line", line)
                                    .decimal("CallID", callId)
                                    .decimal("Cause", cause));
}

int CommunicationsServiceProxy::consultationCall(const std::string& line, int callId,
                                                 const char* destination) {
    return ask(*requestChannel, Request("Consult")
                                    .text("Line", line)
                                    .decimal("CallID", callId)
                                    .text("Destination", destination));
}

int CommunicationsServiceProxy::attendedTransferCall(const std::string& line, int activeCall,
                                                     int heldCall) {
    return ask(*requestChannel, Request("AttendedTransfer")
                                    .text("Line", line)
                                    .decimal("activeCall", activeCall)
                                    .decimal("heldCall", heldCall));
}

int CommunicationsServiceProxy::blindTransferCall(const std::string& line, int callId,
                                                  const char* destination) {
    return ask(*requestChannel, Request("BlindTransfer")
                                    .text("Line", line)
                                    .decimal("CallID", callId)
                                    .text("Destination", destination));
}

int CommunicationsServiceProxy::refuseCall(const std::string& line, int callId,
                                           sfiRefuseCall refuseCallReason) {
    return ask(*requestChannel, Request("RefuseCall")
                                    .text("Line", line)
                                    .decimal("CallID", callId)
                                    .decimal("RefuseCallReason", refuseCallReason));
}

int CommunicationsServiceProxy::alternateCalls(const std::string& line) {
    return ask(*requestChannel, Request("AlternateCalls").text("Line", line));
}

int CommunicationsServiceProxy::conferenceCall(const std::string& line, int activeCall,
                                               int heldCall, sfiFeature feature) {
    return ask(*requestChannel, Request("ConferenceCall")
                                    .text("Line", line)
                                    .decimal("activeCall", activeCall)
                                    .decimal("heldCall", heldCall)
                                    .decimal("feature", feature));
}

int CommunicationsServiceProxy::generateDigits(const std::string& line, int activeCall,
                                               const char* digits) {
    return ask(*requestChannel, Request("GenerateDigits")
                                    .text("Line", line)
                                    .decimal("activeCall", activeCall)
                                    .text("digits", digits));
}

int CommunicationsServiceProxy::directedPickupCall(const std::string& line, int callId,
                                                   const std::string& callToBePickedUp,
                                                   bool blfPickup) {
    return ask(*requestChannel, Request("DirectedPickupCall")
                                    .text("Line", line)
                                    .decimal("CallID", callId)
                                    .text("CallToBePickedUp", callToBePickedUp)
                                    .decimal("BLFPickup", blfPickup));
}

int CommunicationsServiceProxy::groupPickupCall(const std::string& line, int callId) {
    return ask(*requestChannel,
               Request("GroupPickupCall").text("Line", line).decimal("CallID", callId));
}

// Features and settings.

int CommunicationsServiceProxy::activateCallbackRinging(const std::string& line, int callId) {
    return ask(*requestChannel,
               Request("ActivateCallbackRinging").text("Line", line).decimal("CallID", callId));
}

int CommunicationsServiceProxy::activateCallbackBusy(const std::string& line, int callId) {
    return ask(*requestChannel,
               Request("ActivateCallbackBusy").text("Line", line).decimal("CallID", callId));
}

int CommunicationsServiceProxy::cancelCallbacks(const std::string& line, int callId,
                                                const std::string& uri,
                                                sfiCancelCallBackType cancelCallBackType,
                                                bool displayOutcomeCallUI) {
    return ask(*requestChannel, Request("CancelCallbacks")
                                    .text("Line", line)
                                    .decimal("CallID", callId)
                                    .text("URI", uri)
                                    .decimal("CancelCallBackType", cancelCallBackType)
                                    .flag("DisplayOutcomeCallUI", displayOutcomeCallUI));
}

int CommunicationsServiceProxy::setMicrophoneMute(bool status) {
    return ask(*requestChannel, Request("SetMicrophoneMute").flag("Status", status));
}

int CommunicationsServiceProxy::setDoNotDisturb(const std::string& line, bool doNotDisturbOn) {
    return ask(*requestChannel, Request("SetDoNotDisturb")
                                    .text("Line", line)
                                    .flag("doNotDisturbOn", doNotDisturbOn));
}

int CommunicationsServiceProxy::setForwardingConfiguration(const std::string& line,
                                                           sfiForwardingType fwType, bool status,
                                                           const std::string& uri,
                                                           int cfnrRingCount,
                                                           bool forceTKVSUpdate) {
    return ask(*requestChannel, Request("setForwardingConfiguration")
                                    .text("Line", line)
                                    .decimal("fwType", fwType)
                                    .flag("status", status)
                                    .text("uri", uri)
                                    .decimal("cfnrRingCount", cfnrRingCount)
                                    .flag("forceTKVSUpdate", forceTKVSUpdate));
}

int CommunicationsServiceProxy::setAssociatedCalls(bool associated) {
    return ask(*requestChannel, Request("setAssociatedCalls").flag("associated", associated));
}

int CommunicationsServiceProxy::setLampMode(const std::string& line, const std::string& lampId,
                                            int lampMode) {
    return ask(*requestChannel, Request("setLampMode")
                                    .text("Line", line)
                                    .text("lampId", lampId)
                                    .decimal("lampMode", lampMode));
}

int CommunicationsServiceProxy::makeSecurityChangeReinvite(const std::string& line, int callId,
                                                           bool forceFlag) {
    return ask(*requestChannel, Request("makeSecurityChangeReinvite")
                                    .text("Line", line)
                                    .decimal("CallID", callId)
                                    .flag("forceFlag", forceFlag));
}

void CommunicationsServiceProxy::setIsInServiceInitiatedState(const std::string& line,
                                                              bool isInServiceInitiatedState) {
    post(*requestChannel, Request("setIsInServiceInitiatedState")
                              .text("Line", line)
                              .word("IsInServiceInitiatedState", isInServiceInitiatedState));
}

int CommunicationsServiceProxy::systemStatus(const char* systemStatus,
                                             const char* systemStatusInfo) {
    return ask(*requestChannel, Request("SystemStatus")
                                    .text("SystemStatus", systemStatus)
                                    .text("SystemStatusInfo", systemStatusInfo));
}

int CommunicationsServiceProxy::setServiceState(sfiServiceState state) {
    return ask(*requestChannel, Request("SetServiceState").text("state", serviceStateName(state)));
}

// Queries.

int CommunicationsServiceProxy::getMicrophoneMute(bool& muted) {
    return readFlagAnswer(exchange(*requestChannel, "<Method>GetMicrophoneMute</Method>"), muted);
}

int CommunicationsServiceProxy::getDoNotDisturb(const std::string& deviceId,
                                                bool& doNotDisturbOn) {
    return readFlagAnswer(exchange(*requestChannel,
                                   Request("GetDoNotDisturb").text("deviceID", deviceId).str(),
                                   "false"),
                          doNotDisturbOn);
}

int CommunicationsServiceProxy::getServiceState(sfiServiceState& state) {
    const std::string response =
        exchange(*requestChannel, "<Method>GetServiceState</Method>", "false");
    if (contains(response, "sfiFailure")) return sfiFailure;
    for (const sfiServiceState candidate :
         {sfiServiceInService, sfiServiceOutOfService, sfiServiceDoNotDisturb}) {
        if (response.find(serviceStateName(candidate)) != std::string::npos) {
            state = candidate;
            return sfiSuccess;
        }
    }
    return sfiFailure;
}

int CommunicationsServiceProxy::getForwardingConfiguration(sfiForwardingType fwType, bool& status,
                                                           std::string& uri,
                                                           int& cfnrRingCount) {
    const std::string response = exchange(
        *requestChannel, Request("getForwardingConfiguration").decimal("fwType", fwType).str());
    static const ElementNames kFields{"status", "cfnrRingCount", "uri", "sfiResult"};
    ElementSpan fields[4];
    findAnswerFields(response, kFields, fields);
    status = numberOf(response, fields[0]) != 0;
    cfnrRingCount = static_cast<int>(numberOf(response, fields[1]));
    uri = valueOf(response, fields[2]);
    std::string result(valueOf(response, fields[3]));
    return getResult(result);
}

int CommunicationsServiceProxy::getMessageWaitingIndicator(
    int& type, unsigned int& newMsgs, unsigned int& oldMsgs, unsigned int& newUrgMsgs,
    unsigned int& oldUrgMsgs, int& returnType, int& availableInfo, int& messagesWaiting,
    std::string& voiceMailNumber) {
    const std::string response =
        exchange(*requestChannel, "<Method>GetMessageWaitingIndicator</Method>");
    // Read as texts first: a missing number is "" and so converts to 0, not -1.
    static const ElementNames kFields{
        "func_return_val", "Type",        "newMsgs",        "oldMsgs",          "newUrgMsgs",
        "oldUrgMsgs",      "return_type", "available_info", "messages_waiting", "voiceMailNumber"};
    ElementSpan fields[10];
    findAnswerFields(response, kFields, fields);
    const auto text = [&](std::size_t field) { return valueOf(response, fields[field]); };
    std::string result(text(0));
    voiceMailNumber = text(9);
    // Counts keep the bits of the phone's 32-bit long: "-1" stores 4294967295.
    const auto number = [&](std::size_t field) { return static_cast<int>(decimal32(text(field))); };
    type = number(1);
    newMsgs = static_cast<unsigned int>(number(2));
    oldMsgs = static_cast<unsigned int>(number(3));
    newUrgMsgs = static_cast<unsigned int>(number(4));
    oldUrgMsgs = static_cast<unsigned int>(number(5));
    returnType = number(6);
    availableInfo = number(7);
    messagesWaiting = number(8);
    return getResult(result);
}

int CommunicationsServiceProxy::getDevices(std::vector<std::string>& devices) {
    const std::string response = exchange(*requestChannel, "<Method>GetDevices</Method>");
    if (response == "sfiFailure") return sfiFailure;
    // Each '<' opens an item, even inside another one: "<a<b>" lists "a<b" and "b". Every
    // '<' before the last '>' gives one item, so the list grows once.
    const std::size_t lastClose = response.rfind('>');
    if (lastClose != std::string::npos) {
        devices.reserve(devices.size() + static_cast<std::size_t>(std::count(
                                             response.begin(), response.begin() + lastClose, '<')));
    }
    for (std::size_t open = response.find('<'); open != std::string::npos;
         open = response.find('<', open + 1)) {
        const std::size_t close = response.find('>', open);
        if (close != std::string::npos) devices.push_back(response.substr(open + 1, close - open - 1));
    }
    return sfiSuccess;
}

bool CommunicationsServiceProxy::isCallHoldPossible(const std::string& line) {
    return exchange(*requestChannel, Request("isCallHoldPossible").text("Line", line).str()) ==
           "true";
}

bool CommunicationsServiceProxy::getManualHoldIndication(const std::string& line, int callId) {
    return exchange(*requestChannel, Request("getManualHoldIndication")
                                         .text("Line", line)
                                         .decimal("CallID", callId)
                                         .str()) == "true";
}

// Server features and CSTA pass-through.

int CommunicationsServiceProxy::SendCSTARequest(const std::string& line,
                                                const std::string& cstaRequest) {
    return ask(*requestChannel,
               Request("SendCSTARequest").text("Line", line).payload(cstaRequest));
}

void CommunicationsServiceProxy::sendUACSTAServerMessage(std::string& line,
                                                         std::string& serverMessage) {
    post(*requestChannel,
         Request("SendUACSTAServerMessage").text("Line", line).payload(serverMessage));
}

void CommunicationsServiceProxy::InitializeOrFinalizeServerFeatures(const std::string& line,
                                                                    bool initialize) {
    post(*requestChannel, Request("InitializeOrFinalizeServerFeatures")
                              .text("Line", line)
                              .flag("initialize", initialize));
}

void CommunicationsServiceProxy::callbackDOFeatureCallID(const std::string& callId,
                                                         int instanceId) {
    post(*requestChannel,
         Request("callbackDOFeatureCallID").text("CallID", callId).number("instanceId", instanceId));
}

int CommunicationsServiceProxy::setAgentState(const std::string& line,
                                              const std::string& agentState) {
    return ask(*requestChannel,
               Request("SetAgentState").text("Line", line).text("agentState", agentState));
}

void CommunicationsServiceProxy::RemoveConfParticipant(int callId,
                                                       const std::string& remoteParticipant,
                                                       const std::string& conferenceMemberId) {
    post(*requestChannel, Request("RemoveConfParticipant")
                              .number("callID", callId)
                              .text("remoteParticipant", remoteParticipant)
                              .text("conferenceMemberId", conferenceMemberId));
}

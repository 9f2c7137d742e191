#include "RequestParser.h"

#include <charconv>
#include <initializer_list>
#include <stdexcept>

namespace simulator {

namespace {

enum class Value {
    Text,      // any bytes up to the closing tag
    Decimal,   // signed 32-bit decimal
    Flag,      // "0" or "1"
    Word,      // "TRUE" or "FALSE"
    StateName, // a service state name
};

struct Field {
    const char* tag;
    Value value;
};

struct Definition {
    const char* method;
    std::initializer_list<Field> fields;
    bool payload; // a CSTA document follows the last field
    bool oneWay;
};

constexpr Field kLine{"Line", Value::Text};
constexpr Field kCallId{"CallID", Value::Decimal};

const std::initializer_list<Definition> kRequests = {
    {"Activate", {}, false, false},
    {"Deactivate", {{"AllowAutoActivate", Value::Flag}}, false, false},
    {"Subscribe", {}, false, false},
    {"CallClearRequest", {kLine, kCallId, {"Cause", Value::Decimal}}, false, false},
    {"OutgoingCallMakeRequest",
     {kLine,
      kCallId,
      {"Destination", Value::Text},
      {"DSSDirectCall", Value::Flag},
      {"BridgeCall", Value::Flag},
      {"CallCompletionCall", Value::Flag}},
     false,
     false},
    {"AcceptCall", {kLine, kCallId, {"AutoAnswer", Value::Flag}}, false, false},
    {"AnswerCall", {kLine, kCallId}, false, false},
    {"DeflectCall", {kLine, kCallId, {"Destination", Value::Text}}, false, false},
    {"HoldCall",
     {kLine, kCallId, {"HoldCallReason", Value::Decimal}, {"Manual", Value::Flag}},
     false,
     false},
    {"RetrieveCall", {kLine, kCallId}, false, false},
    {"Consult", {kLine, kCallId, {"Destination", Value::Text}}, false, false},
    {"AttendedTransfer",
     {kLine, {"activeCall", Value::Decimal}, {"heldCall", Value::Decimal}},
     false,
     false},
    {"BlindTransfer", {kLine, kCallId, {"Destination", Value::Text}}, false, false},
    {"RefuseCall", {kLine, kCallId, {"RefuseCallReason", Value::Decimal}}, false, false},
    {"AlternateCalls", {kLine}, false, false},
    {"ConferenceCall",
     {kLine,
      {"activeCall", Value::Decimal},
      {"heldCall", Value::Decimal},
      {"feature", Value::Decimal}},
     false,
     false},
    {"GenerateDigits",
     {kLine, {"activeCall", Value::Decimal}, {"digits", Value::Text}},
     false,
     false},
    {"DirectedPickupCall",
     {kLine, kCallId, {"CallToBePickedUp", Value::Text}, {"BLFPickup", Value::Flag}},
     false,
     false},
    {"GroupPickupCall", {kLine, kCallId}, false, false},
    {"ActivateCallbackRinging", {kLine, kCallId}, false, false},
    {"ActivateCallbackBusy", {kLine, kCallId}, false, false},
    {"CancelCallbacks",
     {kLine,
      kCallId,
      {"URI", Value::Text},
      {"CancelCallBackType", Value::Decimal},
      {"DisplayOutcomeCallUI", Value::Flag}},
     false,
     false},
    {"SetMicrophoneMute", {{"Status", Value::Flag}}, false, false},
    {"SetDoNotDisturb", {kLine, {"doNotDisturbOn", Value::Flag}}, false, false},
    {"setForwardingConfiguration",
     {kLine,
      {"fwType", Value::Decimal},
      {"status", Value::Flag},
      {"uri", Value::Text},
      {"cfnrRingCount", Value::Decimal},
      {"forceTKVSUpdate", Value::Flag}},
     false,
     false},
    {"setAssociatedCalls", {{"associated", Value::Flag}}, false, false},
    {"setLampMode", {kLine, {"lampId", Value::Text}, {"lampMode", Value::Decimal}}, false, false},
    {"makeSecurityChangeReinvite", {kLine, kCallId, {"forceFlag", Value::Flag}}, false, false},
    {"setIsInServiceInitiatedState",
     {kLine, {"IsInServiceInitiatedState", Value::Word}},
     false,
     true},
    {"SystemStatus",
     {{"SystemStatus", Value::Text}, {"SystemStatusInfo", Value::Text}},
     false,
     false},
    {"SetServiceState", {{"state", Value::StateName}}, false, false},
    {"GetMicrophoneMute", {}, false, false},
    {"GetDoNotDisturb", {{"deviceID", Value::Text}}, false, false},
    {"GetServiceState", {}, false, false},
    {"getForwardingConfiguration", {{"fwType", Value::Decimal}}, false, false},
    {"GetMessageWaitingIndicator", {}, false, false},
    {"GetDevices", {}, false, false},
    {"isCallHoldPossible", {kLine}, false, false},
    {"getManualHoldIndication", {kLine, kCallId}, false, false},
    {"SendCSTARequest", {kLine}, true, false},
    {"SendUACSTAServerMessage", {kLine}, true, true},
    {"InitializeOrFinalizeServerFeatures", {kLine, {"initialize", Value::Flag}}, false, true},
    {"callbackDOFeatureCallID",
     {{"CallID", Value::Text}, {"instanceId", Value::Decimal}},
     false,
     true},
    {"SetAgentState", {kLine, {"agentState", Value::Text}}, false, false},
    {"RemoveConfParticipant",
     {{"callID", Value::Decimal},
      {"remoteParticipant", Value::Text},
      {"conferenceMemberId", Value::Text}},
     false,
     true},
};

constexpr std::string_view kSignallingPrefix = "SigEvent:";
constexpr std::string_view kMethodOpen = "<Method>";
constexpr std::string_view kMethodClose = "</Method>";

// Quotes a piece of the request for an error message, shortened and made printable.
std::string quote(std::string_view text) {
    constexpr std::size_t kShown = 40;
    std::string shown;
    for (const char byte : text.substr(0, kShown)) {
        const auto code = static_cast<unsigned char>(byte);
        shown.push_back(code < 0x20 || code >= 0x7F ? '?' : byte);
    }
    return "'" + shown + (text.size() > kShown ? "...'" : "'");
}

bool isDecimal(std::string_view value) {
    int number = 0;
    const char* end = value.data() + value.size();
    const auto parsed = std::from_chars(value.data(), end, number);
    return !value.empty() && parsed.ec == std::errc() && parsed.ptr == end;
}

// Why the value does not fit its kind; empty when it does.
std::string checkValue(const Field& field, std::string_view value) {
    const std::string tag = std::string("<") + field.tag + ">";
    switch (field.value) {
    case Value::Text:
        return {};
    case Value::Decimal:
        return isDecimal(value) ? std::string()
                                : tag + " must be a decimal number, not " + quote(value);
    case Value::Flag:
        return value == "0" || value == "1" ? std::string()
                                            : tag + " must be 0 or 1, not " + quote(value);
    case Value::Word:
        return value == "TRUE" || value == "FALSE"
                   ? std::string()
                   : tag + " must be TRUE or FALSE, not " + quote(value);
    case Value::StateName:
        return value == "sfiServiceInService" || value == "sfiServiceOutOfService" ||
                       value == "sfiServiceDoNotDisturb"
                   ? std::string()
                   : tag + " must name a service state, not " + quote(value);
    }
    return {};
}

const Definition* findDefinition(std::string_view method) {
    for (const Definition& definition : kRequests) {
        if (method == definition.method) return &definition;
    }
    return nullptr;
}

ParsedRequest fail(ParsedRequest request, std::string error) {
    request.error = request.method.empty() ? std::move(error) : request.method + ": " + error;
    return request;
}

} // namespace

ParsedRequest parseRequest(std::string_view text) {
    ParsedRequest request;
    if (text.substr(0, kSignallingPrefix.size()) == kSignallingPrefix) {
        request.method = "SigEvent";
        request.payload = std::string(text.substr(kSignallingPrefix.size()));
        request.oneWay = true;
        return request;
    }
    if (text.empty()) return fail(std::move(request), "empty request");
    if (text.substr(0, kMethodOpen.size()) != kMethodOpen) {
        return fail(std::move(request), "the request does not start with <Method>: " + quote(text));
    }
    const std::size_t methodEnd = text.find(kMethodClose);
    if (methodEnd == std::string_view::npos) {
        return fail(std::move(request), "the <Method> element is not closed");
    }
    const std::string_view method = text.substr(kMethodOpen.size(), methodEnd - kMethodOpen.size());
    const Definition* definition = findDefinition(method);
    if (definition == nullptr) {
        return fail(std::move(request), "unknown method " + quote(method));
    }
    request.method = std::string(method);
    request.oneWay = definition->oneWay;

    std::string_view rest = text.substr(methodEnd + kMethodClose.size());
    for (const Field& field : definition->fields) {
        const std::string open = std::string("<") + field.tag + ">";
        const std::string close = std::string("</") + field.tag + ">";
        if (rest.substr(0, open.size()) != open) {
            return fail(std::move(request), "expected " + open + " but found " +
                                                (rest.empty() ? "the end" : quote(rest)));
        }
        rest.remove_prefix(open.size());
        const std::size_t valueEnd = rest.find(close);
        if (valueEnd == std::string_view::npos) {
            return fail(std::move(request), open + " is not closed");
        }
        const std::string_view value = rest.substr(0, valueEnd);
        std::string problem = checkValue(field, value);
        if (!problem.empty()) return fail(std::move(request), std::move(problem));
        request.fields.emplace_back(field.tag, value);
        rest.remove_prefix(valueEnd + close.size());
    }
    if (definition->payload) {
        request.payload = std::string(rest);
    } else if (!rest.empty()) {
        return fail(std::move(request), "unexpected text after the last field: " + quote(rest));
    }
    return request;
}

const std::string& ParsedRequest::text(std::string_view tag) const {
    for (const auto& [name, value] : fields) {
        if (name == tag) return value;
    }
    throw std::logic_error(method + " has no field <" + std::string(tag) + ">");
}

int ParsedRequest::number(std::string_view tag) const {
    const std::string& value = text(tag);
    int number = 0;
    std::from_chars(value.data(), value.data() + value.size(), number);
    return number;
}

bool ParsedRequest::flag(std::string_view tag) const {
    const std::string& value = text(tag);
    return value == "1" || value == "TRUE";
}

} // namespace simulator

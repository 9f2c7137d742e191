#include "EventMessages.h"

#include <stdexcept>

namespace bench {
namespace {

Field text(std::string tag, std::string value) {
    return {Kind::Text, std::move(tag), std::move(value)};
}
Field number(std::string tag, std::string value) {
    return {Kind::Number, std::move(tag), std::move(value)};
}

Event make(std::string method, std::vector<Field> fields, std::string payload = {}) {
    Event event{std::move(method), std::move(fields), std::move(payload), {}};
    event.message = "<Method>" + event.method + "</Method>";
    for (const Field& field : event.fields) {
        event.message += "<" + field.tag + ">" + field.value + "</" + field.tag + ">";
    }
    event.message += event.payload;
    return event;
}

const char* const kCstaResponse =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><MakeCallResponse "
    "xmlns=\"http://www.ecma-international.org/standards/ecma-323/csta/ed4\"><callingDevice>"
    "<callID>4711</callID><deviceID>sip:1001@pbx.example.com</deviceID></callingDevice>"
    "<calledDevice>sip:2002@pbx.example.com</calledDevice></MakeCallResponse>";

const char* const kCstaEvent =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><DeliveredEvent "
    "xmlns=\"http://www.ecma-international.org/standards/ecma-323/csta/ed4\"><monitorCrossRefID>"
    "17</monitorCrossRefID><connection><callID>4711</callID><deviceID>sip:1001@pbx.example.com"
    "</deviceID></connection><alertingDevice><deviceIdentifier>sip:1001@pbx.example.com"
    "</deviceIdentifier></alertingDevice><localConnectionInfo>alerting</localConnectionInfo>"
    "<cause>newCall</cause></DeliveredEvent>";

const char* const kConferenceInfo =
    "<?xml version=\"1.0\"?><conference-info xmlns=\"urn:ietf:params:xml:ns:conference-info\" "
    "entity=\"sip:conf7@pbx.example.com\" state=\"full\" version=\"3\"><users><user "
    "entity=\"sip:1001@pbx.example.com\"><display-text>Alice Jones</display-text><endpoint>"
    "<status>connected</status></endpoint></user><user entity=\"sip:2002@pbx.example.com\">"
    "<display-text>Bob Smith</display-text><endpoint><status>on-hold</status></endpoint>"
    "</user></users></conference-info>";

std::vector<Event> makeEvents() {
    const std::string line = "1001";
    const std::string uri = "sip:+498970072002@pbx.example.com";
    const std::string name = "Bob Smith";
    const std::string pai = "sip:+498970072002@pbx.example.de";
    std::vector<Event> all;
    all.push_back(
        make("CallStateChangeEvent",
             {text("LineID", line), number("CallID", "12"), number("CallState", "3"),
              number("Reason", "0"), number("SendOptions", "0"), text("URI", uri),
              text("Name", name), text("FullPAI", pai), text("GPUCLG", "2002"),
              text("GPUCLGName", name), text("GPUCLD", line), text("GPUCLDName", "Alice Jones"),
              number("ResourcePriority", "0"), number("PreemptionCause", "0"),
              text("PreemptionText", ""), number("CallBackFearureAvailable", "1"),
              number("ILCallLevel", "0"), number("ILLocalLevel", "0")}));
    all.push_back(make("RegistrationStateChangeEvent",
                       {text("LineID", line), number("CallID", "0"), number("Registered", "1"),
                        number("RegistrationResult", "200")}));
    all.push_back(make(
        "IncomingCallEvent",
        {text("LineID", line), number("CallID", "12"), text("URI", uri), text("Name", name),
         text("FullPAI", pai), text("AlertInformation_AlertURI", "http://127.0.0.1/Bellcore-dr2"),
         text("AlertInformation_InfoParam", "info=alert-internal"),
         number("AlertInformation_AutoAnswer", "0"), number("CallType", "1"),
         text("DiversionURI", "sip:3003@pbx.example.com"), text("DiversionName", "Carol White"),
         number("DiversionReason", "2"), number("AICSZIPAutoAnswer", "0"),
         number("ResourcePriority", "0"), number("ILCallLevel", "0"), number("ILLocalLevel", "0"),
         number("IsVideoCall", "0")}));
    all.push_back(make("IncomingPickupCallEvent",
                       {text("LineID", line), number("CallID", "14"), text("URI", uri),
                        text("Name", name), text("FullPAI", pai)}));
    all.push_back(make("CallHeldEvent", {text("LineID", line), number("CallID", "12")}));
    all.push_back(make("CallRetrievedEvent",
                       {text("LineID", line), number("CallID", "12"), text("URI", uri),
                        text("Name", name), text("FullPAI", pai), number("ILCallLevel", "0"),
                        number("ILLocalLevel", "0"), number("ConnectedToMediaServer", "0")}));
    all.push_back(make("FeatureSuccessEvent",
                       {text("LineID", line), number("CallID", "12"), number("Feature", "7")}));
    all.push_back(
        make("FeatureFailedEvent", {text("LineID", line), number("CallID", "12"),
                                    number("Feature", "7"), number("FeatureFailure", "3")}));
    all.push_back(
        make("RemoteEndpointDetailsChangedEvent",
             {text("LineID", line), number("CallID", "12"), text("URI", uri), text("Name", name),
              text("FullPAI", pai), number("exitConf", "0"), number("jointCall", "1")}));
    all.push_back(make("IncomingCallMissedEvent",
                       {text("LineID", line), number("CallID", "15"), text("URI", uri),
                        text("Name", name), text("FullPAI", pai), number("Reason", "4"),
                        text("DiversionURI", "sip:3003@pbx.example.com"),
                        text("DiversionName", "Carol White"), number("DiversionReason", "2")}));
    all.push_back(
        make("CallForwardedEvent",
             {text("LineID", line), number("CallID", "12"), text("CallingParty", uri),
              text("CallingPartyName", name), text("CallingPartyFullPAI", pai),
              text("NewDestination", "sip:3003@pbx.example.com"), number("Reason", "1")}));
    all.push_back(make("DevicesChangedEvent", {}));
    all.push_back(make("messageWaitingEvent",
                       {text("LineID", line), number("type", "1"), number("new_messages", "3"),
                        number("old_messages", "12"), number("new_urgent_messages", "1"),
                        number("old_urgent_messages", "0"), number("return_type", "0"),
                        number("avail_info", "1"), number("messages_waiting", "1"),
                        text("voiceMailNumber", "8000")}));
    all.push_back(
        make("DoNotDisturbEvent", {text("deviceId", line), number("doNotDisturbOn", "1")}));
    all.push_back(make("AgentStateEvent", {text("deviceId", line), text("agentState", "ready")}));
    all.push_back(make("systemStatusEvent",
                       {text("status", "DEGRADED"), text("statusInfo", "backup server active")}));
    all.push_back(make("serverFeatureStatusEvent",
                       {text("lineURI", "sip:1001@pbx.example.com"), text("status", "active")}));
    all.push_back(
        make("IncomingAssociatedCallEvent",
             {text("LineID", line), number("CurrentCallID", "12"), number("NewCallID", "13")}));
    all.push_back(make("b2buaCSTAResponse",
                       {text("lineURI", "sip:1001@pbx.example.com"), number("success", "1")},
                       kCstaResponse));
    all.push_back(
        make("b2buaCSTAEventOrRequest", {text("lineURI", "sip:1001@pbx.example.com")}, kCstaEvent));
    all.push_back(make("conferenceStatusEvent", {text("LineID", line), number("CallID", "12"),
                                                 text("XMLContent", kConferenceInfo)}));
    all.push_back(
        make("securityStatusChanged", {text("lineURI", "sip:1001@pbx.example.com"),
                                       number("callId", "12"),
                                       number("securityStatus", "2"),
                                       {Kind::NumberList, "CallIDsRecorded", "12;13;"},
                                       {Kind::TextList, "CallLineURIsRecorded",
                                        "sip:1001@pbx.example.com;sip:1002@pbx.example.com;"}}));
    all.push_back(make("preemptionStatusChanged",
                       {text("lineURI", "sip:1001@pbx.example.com"), number("callId", "12"),
                        number("priority", "3"), number("cause", "1"),
                        text("reason", "preempted by higher precedence")}));
    all.push_back(make("impactLevelChanged",
                       {text("lineURI", "sip:1001@pbx.example.com"), number("callId", "12"),
                        number("ILCallLevel", "2"), number("ILLocalLevel", "1")}));
    all.push_back(make("callRecordingStatusEvent", {text("LineID", line), number("callId", "12"),
                                                    text("callRecorded", "true")}));
    all.push_back(make("callCompletionEvent",
                       {text("LineID", line), text("URI", "sip:2002@pbx.example.com"),
                        number("CallCompletionType", "1"), number("CallCompletionState", "2"),
                        number("DisplayOutcomeCallUI", "1")}));
    all.push_back(make("callCompletionFailedEvent",
                       {text("LineID", line), text("URI", "sip:2002@pbx.example.com"),
                        number("CallCompletionFailureType", "3")}));
    all.push_back(make("bluetoothAudioStatusChanged",
                       {text("LineID", line), number("CallID", "12"), number("AudioEnabled", "1"),
                        number("AudioGateway", "0"), number("InBandRinging", "1")}));
    if (all.front().message.size() != 595 || all.front().fields.size() != 18) {
        throw std::logic_error("the call-state event must stay 595 bytes with 18 fields");
    }
    return all;
}

} // namespace

const std::vector<Event>& events() {
    static const std::vector<Event> all = makeEvents();
    return all;
}

const Event& callStateEvent() { return events().front(); }

} // namespace bench

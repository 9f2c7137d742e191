#include "CommunicationsServiceProxy.h"

#include <stdexcept>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Answers.h"
#include "CommunicationsService/framework/Utilities.h"
#include "CommunicationsService/protocol/Requests.h"
#include "MessageFormat.h"
#include "Reader.h"

namespace {

constexpr const char* kLogComponent = "SIP Communications Service";
constexpr const char* kLogSourceFile = "./src/CommunicationsServiceProxy.cpp";
constexpr int kLogLevel = 5;

namespace protocol = CommunicationsService::protocol;
namespace requests = protocol::requests;
namespace answers = protocol::answers;
using protocol::Encoding;

template <typename Field, typename Value> Argument argumentOf(const Value& value) {
    static_assert(Field::encoding != Encoding::stateName, "a state is written by its name");
    if constexpr (Field::encoding == Encoding::text || Field::encoding == Encoding::payload) {
        if constexpr (std::is_same_v<Value, const char*>) {
            if (value == nullptr) return {{}, 0, true};
        }
        return {value};
    } else {
        return {{}, static_cast<int>(value)};
    }
}

constexpr std::size_t kSubscribeRow = protocol::rowOf(requests::all, requests::subscribe.method);

// One request of the description: sends it with its arguments by its carrier and reads
// the answer into the outputs.
template <const auto& request, std::size_t Inputs, typename... Outputs>
auto exchangeWith(ProxyRequest& channel, const Argument (&arguments)[Inputs],
                  std::tuple<Outputs&...> outputs) {
    constexpr std::size_t row = protocol::rowOf(requests::all, request.method);
    static_assert(row < protocol::rowCount(requests::all),
                  "every request is in the description's list");
    using Answer = std::decay_t<decltype(request.answer)>;
    const std::string text = reader::requestText(row, arguments);
    if constexpr (std::is_same_v<Answer, answers::None>) {
        channel.sendOneWay(text);
    } else {
        // The entry is read at compile time only, so that it never becomes data of its own.
        std::string response;
        if constexpr (std::is_same_v<Answer, answers::FlagWord> ||
                      std::is_same_v<Answer, answers::StateWord>) {
            constexpr std::string_view preset = request.answer.preset;
            response = preset;
        }
        if constexpr (request.carrier == protocol::Carrier::sendRequestTimed)
            channel.sendRequestTimed(text, response, protocol::kTimeout);
        else
            channel.sendRequest(text, response);
        if constexpr (std::is_same_v<Answer, answers::ResultWord>)
            return resultOf(response);
        else if constexpr (std::is_same_v<Answer, answers::TrueWord>)
            return response == protocol::kTrueWord;
        else if constexpr (std::is_same_v<Answer, answers::FlagWord>)
            return answer::readFlag(response, std::get<0>(outputs));
        else if constexpr (std::is_same_v<Answer, answers::StateWord>)
            return answer::readState(response, std::get<0>(outputs));
        else if constexpr (std::is_same_v<Answer, answers::ItemList>)
            return answer::readItems(response, std::get<0>(outputs));
        else
            return std::apply(
                [&](auto&... out) { return answer::readTagged<Answer>(row, response, out...); },
                outputs);
    }
}

// The parameters as the operation receives them, each as an lvalue reference.
template <typename Operation> struct Parameters;
template <typename R, typename... Params>
struct Parameters<R (CommunicationsServiceIfc::*)(Params...)> {
    using type = std::tuple<std::remove_reference_t<Params>&...>;
};
template <typename Operation> using ParametersOf = typename Parameters<Operation>::type;

template <const auto& request, typename... Args, std::size_t... In, std::size_t... Out>
auto exchangeSplit(ProxyRequest& channel, [[maybe_unused]] std::tuple<Args&...> all,
                   std::index_sequence<In...>, std::index_sequence<Out...>) {
    using Fields = std::decay_t<decltype(request.fields)>;
    const Argument arguments[sizeof...(In) + 1] = {
        argumentOf<std::tuple_element_t<In, Fields>>(std::get<In>(all))...};
    return exchangeWith<request>(channel, arguments,
                                 std::tie(std::get<sizeof...(In) + Out>(all)...));
}

// An operation's request: its leading arguments are written into the fields, the rest are
// the answer's outputs.
template <const auto& request, typename... Args>
auto exchange(ProxyRequest& channel, Args&... args) {
    static_assert(std::is_same_v<std::tuple<Args&...>, ParametersOf<decltype(request.operation)>>,
                  "the operation passes exactly the parameters its entry describes");
    constexpr std::size_t inputs = std::tuple_size_v<std::decay_t<decltype(request.fields)>>;
    return exchangeSplit<request>(channel, std::tuple<Args&...>(args...),
                                  std::make_index_sequence<inputs>(),
                                  std::make_index_sequence<sizeof...(Args) - inputs>());
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
    requestChannel->setProtocol(std::string(protocol::kProtocolName));
}

int CommunicationsServiceProxy::getResult(std::string& response) { return resultOf(response); }

std::string CommunicationsServiceProxy::getParamAsString(const std::string& startTag,
                                                         const std::string& message,
                                                         const std::string& endTag) {
    return answerText(startTag, message, endTag);
}

long CommunicationsServiceProxy::getParamAsLong(const std::string& startTag,
                                                const std::string& message,
                                                const std::string& endTag) {
    return answerNumber(startTag, message, endTag);
}

void CommunicationsServiceProxy::processSignallingComponentEvent(const char* data, int length) {
    std::string message(requests::kSignalling);
    // A negative length is a huge size; refuse it with the text the phone has always given.
    const auto size = static_cast<std::size_t>(static_cast<long long>(length));
    if (size > message.max_size() - message.size()) {
        throw std::length_error("basic_string::append");
    }
    message.append(data, size);
    requestChannel->sendOneWay(message);
}

int CommunicationsServiceProxy::subscribe(Executable* subscriber) {
    log(277, "subscribe start");
    if (subscriber == nullptr) return sfiFailure;
    const std::string request = reader::requestText(kSubscribeRow, nullptr);
    std::string response;
    const std::string channelName = requestChannel->context->findChannel(subscriber);
    try {
        requestChannel->sendSubscribe(request, response, channelName, protocol::kTimeout);
    } catch (MarloException& caught) {
        log(298, "subscribe exception caught:");
        throw MarloException(caught);
    }
    log(302, "subscribe end");
    return resultOf(response);
}

std::string CommunicationsServiceProxy::csCommunicationsService(const char* /*name*/) { return {}; }

void CommunicationsServiceProxy::activateStoredFwd() {}

using Self = CommunicationsServiceProxy;

// Every other operation is one request of the description.

// clang-format off
int Self::activate() { return exchange<requests::activate>(*requestChannel); }
int Self::deactivate(bool allowAutoActivate) { return exchange<requests::deactivate>(*requestChannel, allowAutoActivate); }

// Calls.
int Self::callClear(const std::string& line, int callId, CSTAEventCause cause) { return exchange<requests::callClear>(*requestChannel, line, callId, cause); }
int Self::outgoingCallMake(const std::string& line, int callId, const char* destination, bool dssDirectCall, bool bridgeCall, bool callCompletionCall) { return exchange<requests::outgoingCallMake>(*requestChannel, line, callId, destination, dssDirectCall, bridgeCall, callCompletionCall); }
int Self::acceptCall(const std::string& line, int callId, bool autoAnswer) { return exchange<requests::acceptCall>(*requestChannel, line, callId, autoAnswer); }
int Self::answerCall(const std::string& line, int callId) { return exchange<requests::answerCall>(*requestChannel, line, callId); }
int Self::deflectCall(const std::string& line, int callId, const char* destination) { return exchange<requests::deflectCall>(*requestChannel, line, callId, destination); }
int Self::holdCall(const std::string& line, int callId, sfiFeature holdCallReason, bool manual) { return exchange<requests::holdCall>(*requestChannel, line, callId, holdCallReason, manual); }
int Self::retrieveCall(const std::string& line, int callId) { return exchange<requests::retrieveCall>(*requestChannel, line, callId); }
int Self::consultationCall(const std::string& line, int callId, const char* destination) { return exchange<requests::consultationCall>(*requestChannel, line, callId, destination); }
int Self::attendedTransferCall(const std::string& line, int activeCall, int heldCall) { return exchange<requests::attendedTransferCall>(*requestChannel, line, activeCall, heldCall); }
int Self::blindTransferCall(const std::string& line, int callId, const char* destination) { return exchange<requests::blindTransferCall>(*requestChannel, line, callId, destination); }
int Self::refuseCall(const std::string& line, int callId, sfiRefuseCall refuseCallReason) { return exchange<requests::refuseCall>(*requestChannel, line, callId, refuseCallReason); }
int Self::alternateCalls(const std::string& line) { return exchange<requests::alternateCalls>(*requestChannel, line); }
int Self::conferenceCall(const std::string& line, int activeCall, int heldCall, sfiFeature feature) { return exchange<requests::conferenceCall>(*requestChannel, line, activeCall, heldCall, feature); }
int Self::generateDigits(const std::string& line, int activeCall, const char* digits) { return exchange<requests::generateDigits>(*requestChannel, line, activeCall, digits); }
int Self::directedPickupCall(const std::string& line, int callId, const std::string& callToBePickedUp, bool blfPickup) { return exchange<requests::directedPickupCall>(*requestChannel, line, callId, callToBePickedUp, blfPickup); }
int Self::groupPickupCall(const std::string& line, int callId) { return exchange<requests::groupPickupCall>(*requestChannel, line, callId); }

// Features and settings.
int Self::activateCallbackRinging(const std::string& line, int callId) { return exchange<requests::activateCallbackRinging>(*requestChannel, line, callId); }
int Self::activateCallbackBusy(const std::string& line, int callId) { return exchange<requests::activateCallbackBusy>(*requestChannel, line, callId); }
int Self::cancelCallbacks(const std::string& line, int callId, const std::string& uri, sfiCancelCallBackType cancelCallBackType, bool displayOutcomeCallUI) { return exchange<requests::cancelCallbacks>(*requestChannel, line, callId, uri, cancelCallBackType, displayOutcomeCallUI); }
int Self::setMicrophoneMute(bool status) { return exchange<requests::setMicrophoneMute>(*requestChannel, status); }
int Self::setDoNotDisturb(const std::string& line, bool doNotDisturbOn) { return exchange<requests::setDoNotDisturb>(*requestChannel, line, doNotDisturbOn); }
int Self::setForwardingConfiguration(const std::string& line, sfiForwardingType fwType, bool status, const std::string& uri, int cfnrRingCount, bool forceTKVSUpdate) { return exchange<requests::setForwardingConfiguration>(*requestChannel, line, fwType, status, uri, cfnrRingCount, forceTKVSUpdate); }
int Self::setAssociatedCalls(bool associated) { return exchange<requests::setAssociatedCalls>(*requestChannel, associated); }
int Self::setLampMode(const std::string& line, const std::string& lampId, int lampMode) { return exchange<requests::setLampMode>(*requestChannel, line, lampId, lampMode); }
int Self::makeSecurityChangeReinvite(const std::string& line, int callId, bool forceFlag) { return exchange<requests::makeSecurityChangeReinvite>(*requestChannel, line, callId, forceFlag); }
void Self::setIsInServiceInitiatedState(const std::string& line, bool isInServiceInitiatedState) { exchange<requests::setIsInServiceInitiatedState>(*requestChannel, line, isInServiceInitiatedState); }
int Self::systemStatus(const char* systemStatus, const char* systemStatusInfo) { return exchange<requests::systemStatus>(*requestChannel, systemStatus, systemStatusInfo); }
int Self::setServiceState(sfiServiceState state) { const std::string name = serialize(state); return exchangeWith<requests::setServiceState>(*requestChannel, {Argument{name}}, std::tuple<>()); }

// Queries.
int Self::getMicrophoneMute(bool& muted) { return exchange<requests::getMicrophoneMute>(*requestChannel, muted); }
int Self::getDoNotDisturb(const std::string& deviceId, bool& doNotDisturbOn) { return exchange<requests::getDoNotDisturb>(*requestChannel, deviceId, doNotDisturbOn); }
int Self::getServiceState(sfiServiceState& state) { return exchange<requests::getServiceState>(*requestChannel, state); }
int Self::getForwardingConfiguration(sfiForwardingType fwType, bool& status, std::string& uri, int& cfnrRingCount) { return exchange<requests::getForwardingConfiguration>(*requestChannel, fwType, status, uri, cfnrRingCount); }
int Self::getMessageWaitingIndicator(int& type, unsigned int& newMsgs, unsigned int& oldMsgs, unsigned int& newUrgMsgs, unsigned int& oldUrgMsgs, int& returnType, int& availableInfo, int& messagesWaiting, std::string& voiceMailNumber) { return exchange<requests::getMessageWaitingIndicator>(*requestChannel, type, newMsgs, oldMsgs, newUrgMsgs, oldUrgMsgs, returnType, availableInfo, messagesWaiting, voiceMailNumber); }
int Self::getDevices(std::vector<std::string>& devices) { return exchange<requests::getDevices>(*requestChannel, devices); }
bool Self::isCallHoldPossible(const std::string& line) { return exchange<requests::isCallHoldPossible>(*requestChannel, line); }
bool Self::getManualHoldIndication(const std::string& line, int callId) { return exchange<requests::getManualHoldIndication>(*requestChannel, line, callId); }

// Server features and CSTA pass-through.
int Self::SendCSTARequest(const std::string& line, const std::string& cstaRequest) { return exchange<requests::SendCSTARequest>(*requestChannel, line, cstaRequest); }
void Self::sendUACSTAServerMessage(std::string& line, std::string& serverMessage) { exchange<requests::sendUACSTAServerMessage>(*requestChannel, line, serverMessage); }
void Self::InitializeOrFinalizeServerFeatures(const std::string& line, bool initialize) { exchange<requests::InitializeOrFinalizeServerFeatures>(*requestChannel, line, initialize); }
void Self::callbackDOFeatureCallID(const std::string& callId, int instanceId) { exchange<requests::callbackDOFeatureCallID>(*requestChannel, callId, instanceId); }
int Self::setAgentState(const std::string& line, const std::string& agentState) { return exchange<requests::setAgentState>(*requestChannel, line, agentState); }
void Self::RemoveConfParticipant(int callId, const std::string& remoteParticipant, const std::string& conferenceMemberId) { exchange<requests::RemoveConfParticipant>(*requestChannel, callId, remoteParticipant, conferenceMemberId); }
// clang-format on

#include "CommunicationsServiceProxy.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "CommunicationsService/framework/Utilities.h"
#include "CommunicationsService/protocol/Requests.h"
#include "MessageFormat.h"

namespace {

constexpr int kTimeout = 100000;
constexpr const char* kLogComponent = "SIP Communications Service";
constexpr const char* kLogSourceFile = "./src/CommunicationsServiceProxy.cpp";
constexpr int kLogLevel = 5;

namespace protocol = CommunicationsService::protocol;
namespace requests = protocol::requests;
namespace answers = protocol::answers;
using protocol::Encoding;

constexpr std::size_t kRequests = std::tuple_size_v<std::decay_t<decltype(requests::all)>>;

// ---------------------------------------------------------------------------------------
// The requests as compact tables made at compile time from the description: every name
// in one pool, each request as its method, carrier and fields. One writer serves every
// request; each operation's own code only gathers its arguments and outputs.
// ---------------------------------------------------------------------------------------

enum class Shape : std::uint8_t {
    none,
    resultWord,
    flagWord,
    stateWord,
    trueWord,
    itemList,
    tagged
};

template <typename Answer> constexpr Shape shapeOf() {
    if constexpr (std::is_same_v<Answer, answers::None>)
        return Shape::none;
    else if constexpr (std::is_same_v<Answer, answers::ResultWord>)
        return Shape::resultWord;
    else if constexpr (std::is_same_v<Answer, answers::FlagWord>)
        return Shape::flagWord;
    else if constexpr (std::is_same_v<Answer, answers::StateWord>)
        return Shape::stateWord;
    else if constexpr (std::is_same_v<Answer, answers::TrueWord>)
        return Shape::trueWord;
    else if constexpr (std::is_same_v<Answer, answers::ItemList>)
        return Shape::itemList;
    else
        return Shape::tagged;
}

struct Bounds {
    std::size_t fields = 0;
    std::size_t answerFields = 0;
    std::size_t names = 0; // bytes of all names
};

constexpr Bounds bounds() {
    Bounds most;
    std::apply(
        [&](const auto&... request) {
            const auto measure = [&](const auto& one) {
                using Answer = std::decay_t<decltype(one.answer)>;
                most.names += one.method.size() + 5; // and a preset
                most.fields = std::max(most.fields, std::tuple_size_v<decltype(one.fields)>);
                std::apply([&](const auto&... field) { ((most.names += field.tag.size()), ...); },
                           one.fields);
                if constexpr (shapeOf<Answer>() == Shape::tagged) {
                    most.names += one.answer.resultTag.size() + 1;
                    std::apply(
                        [&](const auto&... field) { ((most.names += field.tag.size() + 1), ...); },
                        one.answer.fields);
                    most.answerFields =
                        std::max(most.answerFields, std::tuple_size_v<decltype(one.answer.fields)>);
                }
            };
            (measure(request), ...);
        },
        requests::all);
    return most;
}

constexpr Bounds kBounds = bounds();

struct FieldLayout {
    Encoding encoding = Encoding::text;
    ElementName tag;
};

struct RequestLayout {
    ElementName method;
    protocol::Carrier carrier = protocol::Carrier::sendRequest;
    ElementName preset; // what the response holds before the channel fills it
    std::uint8_t fields = 0;
    FieldLayout field[kBounds.fields];
    // A tagged answer: its fields' readings and names, then the result's name.
    std::uint8_t answerFields = 0;
    answers::Reading readings[kBounds.answerFields] = {};
    ElementName answerNames[kBounds.answerFields + 1];
};

struct Catalogue {
    NamePool<kBounds.names> pool;
    RequestLayout requests[kRequests];
};

template <typename Entry>
constexpr RequestLayout layoutOf(const Entry& request, NamePool<kBounds.names>& pool) {
    using Answer = std::decay_t<decltype(request.answer)>;
    RequestLayout layout;
    layout.method = pool.add(request.method);
    layout.carrier = request.carrier;
    if constexpr (shapeOf<Answer>() == Shape::flagWord || shapeOf<Answer>() == Shape::stateWord) {
        if (!request.answer.preset.empty()) layout.preset = pool.add(request.answer.preset);
    }
    std::apply(
        [&](const auto&... field) {
            ((layout.field[layout.fields++] =
                  FieldLayout{field.encoding,
                              field.tag.empty() ? ElementName{} : pool.add(field.tag)}),
             ...);
        },
        request.fields);
    if constexpr (shapeOf<Answer>() == Shape::tagged) {
        std::apply(
            [&](const auto&... field) {
                ((layout.readings[layout.answerFields] = field.reading,
                  layout.answerNames[layout.answerFields++] = pool.answerName(field.tag)),
                 ...);
            },
            request.answer.fields);
        layout.answerNames[layout.answerFields] = pool.answerName(request.answer.resultTag);
    }
    return layout;
}

constexpr Catalogue catalogue() {
    Catalogue built{};
    std::size_t row = 0;
    std::apply(
        [&](const auto&... request) {
            ((built.requests[row++] = layoutOf(request, built.pool)), ...);
        },
        requests::all);
    return built;
}

constexpr Catalogue kCatalogue = catalogue();

std::string_view textOf(ElementName name) {
    return std::string_view(kCatalogue.pool.bytes + name.offset, name.size);
}

// One argument as the writer takes it.
struct Argument {
    std::string_view text;
    int number = 0;
    bool missing = false; // a null C string
};

template <typename Field, typename Value> Argument argumentOf(const Value& value) {
    if constexpr (Field::encoding == Encoding::stateName) {
        return {serviceStateName(value)};
    } else if constexpr (Field::encoding == Encoding::text ||
                         Field::encoding == Encoding::payload) {
        if constexpr (std::is_same_v<Value, const char*>) {
            if (value == nullptr) return {{}, 0, true};
        }
        return {value};
    } else {
        return {{}, static_cast<int>(value)};
    }
}

// One request in the envelope, written into one string of exactly its length, so that a
// request costs one allocation however long its values are. A null C string stops the
// text right after its field's opening tag and drops everything after it, which is what
// the service has always received for such a request.
std::string requestText(const RequestLayout& layout, const Argument* arguments) {
    constexpr std::string_view kOpenMethod = protocol::kMethodOpen;
    constexpr std::string_view kCloseMethod = protocol::kMethodClose;
    const std::string_view method = textOf(layout.method);
    std::string_view values[kBounds.fields];
    char decimals[kBounds.fields][12];
    // The pass-through requests format numbers with the framework's own helper.
    std::string spelled[kBounds.fields];
    std::size_t written = layout.fields; // fields written whole
    std::size_t total = kOpenMethod.size() + method.size() + kCloseMethod.size();
    for (std::size_t i = 0; i < layout.fields; ++i) {
        const Argument& argument = arguments[i];
        const std::size_t tag = layout.field[i].tag.size;
        switch (layout.field[i].encoding) {
        case Encoding::text:
        case Encoding::stateName:
        case Encoding::payload:
            values[i] = argument.text;
            break;
        case Encoding::decimal: {
            const auto end = std::to_chars(decimals[i], decimals[i] + 12, argument.number).ptr;
            values[i] = std::string_view(decimals[i], static_cast<std::size_t>(end - decimals[i]));
            break;
        }
        case Encoding::flag:
            values[i] = argument.number != 0 ? "1" : "0";
            break;
        case Encoding::word:
            values[i] = argument.number != 0 ? "TRUE" : "FALSE";
            break;
        case Encoding::number:
            spelled[i] = ClientUtils::itos(argument.number);
            values[i] = spelled[i];
            break;
        }
        if (argument.missing) {
            total += tag + 2;
            written = i;
            break;
        }
        total += layout.field[i].encoding == Encoding::payload ? values[i].size()
                                                               : 2 * tag + 5 + values[i].size();
    }
    std::string message(total, '\0');
    char* out = copyShort(message.data(), kOpenMethod);
    out = copyShort(copyShort(out, method), kCloseMethod);
    for (std::size_t i = 0; i < layout.fields; ++i) {
        const std::string_view tag = textOf(layout.field[i].tag);
        if (layout.field[i].encoding == Encoding::payload) {
            out = copyShort(out, values[i]);
            continue;
        }
        *out++ = '<';
        out = copyShort(out, tag);
        *out++ = '>';
        if (i == written) break;
        out = copyShort(out, values[i]);
        *out++ = '<';
        *out++ = '/';
        out = copyShort(out, tag);
        *out++ = '>';
    }
    return message;
}

void post(ProxyRequest& channel, const RequestLayout& layout, const Argument* arguments) {
    channel.sendOneWay(requestText(layout, arguments));
}

// Sends a request by its carrier and gives the answer.
std::string ask(ProxyRequest& channel, const RequestLayout& layout, const Argument* arguments) {
    const std::string request = requestText(layout, arguments);
    std::string response(textOf(layout.preset));
    if (layout.carrier == protocol::Carrier::sendRequestTimed)
        channel.sendRequestTimed(request, response, kTimeout);
    else
        channel.sendRequest(request, response);
    return response;
}

bool contains(std::string_view text, std::string_view word) {
    return text.find(word) != std::string_view::npos;
}

// The answer shapes: how the answer text becomes the result and the outputs.

// A failure word anywhere wins, then "true" anywhere.
int readFlag(const std::string& response, bool& value) {
    if (contains(response, "sfiFailure")) return sfiFailure;
    value = contains(response, "true");
    return sfiSuccess;
}

int readState(const std::string& response, sfiServiceState& state) {
    if (contains(response, "sfiFailure")) return sfiFailure;
    for (const sfiServiceState candidate :
         {sfiServiceInService, sfiServiceOutOfService, sfiServiceDoNotDisturb}) {
        if (contains(response, serviceStateName(candidate))) {
            state = candidate;
            return sfiSuccess;
        }
    }
    return sfiFailure;
}

int readItems(const std::string& response, std::vector<std::string>& items) {
    if (response == "sfiFailure") return sfiFailure;
    // Each '<' opens an item, even inside another one: "<a<b>" lists "a<b" and "b". Every
    // '<' before the last '>' gives one item, so the list grows once.
    const std::size_t lastClose = response.rfind('>');
    if (lastClose != std::string::npos) {
        items.reserve(items.size() + static_cast<std::size_t>(std::count(
                                         response.begin(), response.begin() + lastClose, '<')));
    }
    for (std::size_t open = response.find('<'); open != std::string::npos;
         open = response.find('<', open + 1)) {
        const std::size_t close = response.find('>', open);
        if (close != std::string::npos)
            items.push_back(response.substr(open + 1, close - open - 1));
    }
    return sfiSuccess;
}

// Every output is written, whatever the result word says, in the outputs' order; the
// result is the result word of its own element.
int readTagged(const std::string& response, const RequestLayout& layout, void* const* outputs) {
    using answers::Reading;
    ElementSpan spans[kBounds.answerFields + 1];
    const std::size_t count = layout.answerFields;
    findAnswerFields(response, {kCatalogue.pool.bytes, layout.answerNames, count + 1}, spans);
    for (std::size_t i = 0; i < count; ++i) {
        const ElementSpan span = spans[i];
        switch (layout.readings[i]) {
        case Reading::flag:
            *static_cast<bool*>(outputs[i]) = numberOf(response, span) != 0;
            break;
        case Reading::number:
            *static_cast<int*>(outputs[i]) = static_cast<int>(numberOf(response, span));
            break;
        case Reading::text:
            *static_cast<std::string*>(outputs[i]) = valueOf(response, span);
            break;
        // Read as text first: a missing number is "" and so converts to 0, not -1.
        case Reading::textNumber:
            *static_cast<int*>(outputs[i]) = static_cast<int>(decimal32(valueOf(response, span)));
            break;
        // The counts keep the bits of the phone's 32-bit long: "-1" stores 4294967295.
        case Reading::textCounter:
            *static_cast<unsigned int*>(outputs[i]) =
                static_cast<unsigned int>(static_cast<int>(decimal32(valueOf(response, span))));
            break;
        }
    }
    return resultOf(valueOf(response, spans[count]));
}

constexpr std::size_t kSubscribeRow = protocol::rowOf(requests::all, requests::subscribe.method);

// One request of the description: writes its fields from the leading arguments, sends it
// by its carrier and reads the answer into the remaining arguments.
template <const auto& request, typename... Args, std::size_t... In, std::size_t... Out>
auto exchangeWith(ProxyRequest& channel, std::tuple<Args&...> all, std::index_sequence<In...>,
                  std::index_sequence<Out...>) {
    constexpr std::size_t row = protocol::rowOf(requests::all, request.method);
    static_assert(row < kRequests, "every request is in the description's list");
    const RequestLayout& layout = kCatalogue.requests[row];
    const Argument arguments[sizeof...(In) + 1] = {
        argumentOf<std::tuple_element_t<In, std::decay_t<decltype(request.fields)>>>(
            std::get<In>(all))...};
    constexpr Shape shape = shapeOf<std::decay_t<decltype(request.answer)>>();
    if constexpr (shape == Shape::none) {
        post(channel, layout, arguments);
    } else {
        const std::string response = ask(channel, layout, arguments);
        constexpr std::size_t in = sizeof...(In);
        if constexpr (shape == Shape::resultWord)
            return resultOf(response);
        else if constexpr (shape == Shape::trueWord)
            return response == "true";
        else if constexpr (shape == Shape::flagWord)
            return readFlag(response, std::get<in + Out>(all)...);
        else if constexpr (shape == Shape::stateWord)
            return readState(response, std::get<in + Out>(all)...);
        else if constexpr (shape == Shape::itemList)
            return readItems(response, std::get<in + Out>(all)...);
        else {
            void* const outputs[] = {&std::get<in + Out>(all)...};
            return readTagged(response, layout, outputs);
        }
    }
}

// The parameters as the operation receives them, each as an lvalue reference.
template <typename Operation> struct Parameters;
template <typename R, typename... Params>
struct Parameters<R (CommunicationsServiceIfc::*)(Params...)> {
    using type = std::tuple<std::remove_reference_t<Params>&...>;
};
template <typename Operation> using ParametersOf = typename Parameters<Operation>::type;

template <const auto& request, typename... Args>
auto exchange(ProxyRequest& channel, Args&... args) {
    static_assert(std::is_same_v<std::tuple<Args&...>, ParametersOf<decltype(request.operation)>>,
                  "the operation passes exactly the parameters its entry describes");
    constexpr std::size_t inputs = std::tuple_size_v<std::decay_t<decltype(request.fields)>>;
    return exchangeWith<request>(channel, std::tuple<Args&...>(args...),
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
    requestChannel->setProtocol("CommunicationsServiceProtocol");
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
    const std::string request = requestText(kCatalogue.requests[kSubscribeRow], nullptr);
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
int Self::setServiceState(sfiServiceState state) { return exchange<requests::setServiceState>(*requestChannel, state); }

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

// The simulator's request parser, on arbitrary bytes and on requests the proxy writes
// with fuzzed arguments. A request it accepts must be exactly the envelope rebuilt from
// what it read, and every request the proxy writes from plain values must be accepted.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "CommunicationsServiceProxy.h"
#include "Reference.h"
#include "RequestParser.h"

namespace {

using reference::expectEqual;

std::string rebuilt(const simulator::ParsedRequest& request) {
    if (request.method == "SigEvent") return "SigEvent:" + request.payload;
    std::string text = "<Method>" + request.method + "</Method>";
    for (const auto& [tag, value] : request.fields) {
        text += "<" + tag + ">" + value + "</" + tag + ">";
    }
    return text + request.payload;
}

void checkParsed(const std::string& text) {
    const simulator::ParsedRequest request = simulator::parseRequest(text);
    if (!request.valid()) return;
    expectEqual(rebuilt(request), text, "request rebuilt from its parse");
    for (const auto& [tag, value] : request.fields) {
        expectEqual(request.text(tag), value, "field <" + tag + ">");
        request.number(tag);
        request.flag(tag);
    }
}

// Keeps the proxy's requests about plain values: a '<' inside a value may legitimately
// close an element early for a reader that looks for the closing tag.
class CapturingChannel : public ProxyRequest {
public:
    using ProxyRequest::ProxyRequest;
    int sendRequest(const std::string& request, std::string& response) override {
        return keep(request, response, false);
    }
    int sendRequestTimed(const std::string& request, std::string& response, int) override {
        return keep(request, response, false);
    }
    int sendSubscribe(const std::string& request, std::string& response, const std::string&,
                      int) override {
        return keep(request, response, false);
    }
    int sendOneWay(const std::string& message) override {
        std::string unused;
        return keep(message, unused, true);
    }

    std::string last;
    bool lastOneWay = false;

private:
    int keep(const std::string& request, std::string& response, bool oneWay) {
        last = request;
        lastOneWay = oneWay;
        response = "sfiSuccess";
        return 0;
    }
};

struct Subscriber : Executable {
    void init(Context&) override {}
    void shutdown() override {}
};

std::string plainText(FuzzedDataProvider& input) {
    std::string value = input.ConsumeRandomLengthString(32);
    for (char& byte : value) {
        if (byte == '<') byte = '_';
    }
    return value;
}

void writeRequest(CommunicationsServiceIfc& service, int operation, FuzzedDataProvider& input) {
    const std::string line = plainText(input);
    std::string other = plainText(input);
    const int callId = input.ConsumeIntegral<int>();
    const int number = input.ConsumeIntegral<int>();
    const bool flag = input.ConsumeBool();
    bool out = false;
    std::string outText;
    int outNumber = 0;
    unsigned int outCount = 0;
    std::vector<std::string> devices;
    sfiServiceState state = sfiServiceInService;
    switch (operation) {
    case 0: {
        const std::string bytes = input.ConsumeRandomLengthString(32);
        service.processSignallingComponentEvent(bytes.data(), static_cast<int>(bytes.size()));
        break;
    }
    case 1:
        service.activate();
        break;
    case 2:
        service.deactivate(flag);
        break;
    case 3:
        service.callClear(line, callId, CSTAEventCause(number));
        break;
    case 4:
        service.outgoingCallMake(line, callId, other.c_str(), flag, !flag, flag);
        break;
    case 5:
        service.acceptCall(line, callId, flag);
        break;
    case 6:
        service.answerCall(line, callId);
        break;
    case 7:
        service.deflectCall(line, callId, other.c_str());
        break;
    case 8:
        service.holdCall(line, callId, sfiFeature(number), flag);
        break;
    case 9:
        service.retrieveCall(line, callId);
        break;
    case 10:
        service.attendedTransferCall(line, callId, number);
        break;
    case 11:
        service.blindTransferCall(line, callId, other.c_str());
        break;
    case 12:
        service.SendCSTARequest(line, input.ConsumeRandomLengthString(64));
        break;
    case 13: {
        std::string mutableLine = line;
        std::string payload = input.ConsumeRandomLengthString(64);
        service.sendUACSTAServerMessage(mutableLine, payload);
        break;
    }
    case 14:
        service.InitializeOrFinalizeServerFeatures(line, flag);
        break;
    case 15:
        service.activateCallbackRinging(line, callId);
        break;
    case 16:
        service.activateCallbackBusy(line, callId);
        break;
    case 17:
        service.cancelCallbacks(line, callId, other, sfiCancelCallBackType(number), flag);
        break;
    case 18:
        service.consultationCall(line, callId, other.c_str());
        break;
    case 19:
        service.refuseCall(line, callId, sfiRefuseCall(number));
        break;
    case 20: {
        Subscriber subscriber;
        service.subscribe(&subscriber);
        break;
    }
    case 21:
        service.directedPickupCall(line, callId, other, flag);
        break;
    case 22:
        service.groupPickupCall(line, callId);
        break;
    case 23:
        service.setServiceState(sfiServiceState(input.ConsumeIntegralInRange(0, 2)));
        break;
    case 24:
        service.getServiceState(state);
        break;
    case 25:
        service.setDoNotDisturb(line, flag);
        break;
    case 26:
        service.getDoNotDisturb(line, out);
        break;
    case 27:
        service.setAgentState(line, other);
        break;
    case 28:
        service.setMicrophoneMute(flag);
        break;
    case 29:
        service.getMicrophoneMute(out);
        break;
    case 30:
        service.systemStatus(line.c_str(), other.c_str());
        break;
    case 31:
        service.generateDigits(line, callId, other.c_str());
        break;
    case 32:
        service.getDevices(devices);
        break;
    case 33:
        service.conferenceCall(line, callId, number, sfiFeature(flag));
        break;
    case 34:
        service.RemoveConfParticipant(callId, line, other);
        break;
    case 35:
        service.getManualHoldIndication(line, callId);
        break;
    case 36:
        service.alternateCalls(line);
        break;
    case 37:
        service.getMessageWaitingIndicator(outNumber, outCount, outCount, outCount, outCount,
                                           outNumber, outNumber, outNumber, outText);
        break;
    case 38:
        service.setAssociatedCalls(flag);
        break;
    case 39:
        service.setLampMode(line, other, number);
        break;
    case 40:
        service.makeSecurityChangeReinvite(line, callId, flag);
        break;
    case 41:
        service.setIsInServiceInitiatedState(line, flag);
        break;
    case 42:
        service.setForwardingConfiguration(line, sfiForwardingType(number), flag, other, callId,
                                           !flag);
        break;
    case 43:
        service.getForwardingConfiguration(sfiForwardingType(number), out, outText, outNumber);
        break;
    case 44:
        service.callbackDOFeatureCallID(line, number);
        break;
    case 45:
        service.isCallHoldPossible(line);
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        checkParsed(input.ConsumeRemainingBytesAsString());
        return 0;
    }
    // csCommunicationsService and activateStoredFwd send nothing.
    const int operation = input.ConsumeIntegralInRange(0, 45);
    FrameworkContext context;
    CapturingChannel channel(&context);
    CommunicationsServiceProxy proxy;
    proxy.initProxy(channel);
    writeRequest(proxy, operation, input);

    const simulator::ParsedRequest request = simulator::parseRequest(channel.last);
    if (!request.valid()) {
        std::fprintf(stderr, "REJECTED request of operation %d: %s\n  %s\n", operation + 1,
                     request.error.c_str(), reference::printable(channel.last).c_str());
        std::abort();
    }
    expectEqual(request.oneWay, channel.lastOneWay, "one-way request " + request.method);
    checkParsed(channel.last);
    return 0;
}

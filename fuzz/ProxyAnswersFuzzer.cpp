// The proxy's reading of answers: a channel answers each operation with fuzzed text, and
// every result and output is held against the plain reference reading of that text.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "CommunicationsServiceProxy.h"
#include "Reference.h"

namespace {

using reference::expectEqual;

// Answers every round trip with the text it is given, replacing the response or, like
// some framework channels, appending to what the proxy put there.
class AnsweringChannel : public ProxyRequest {
public:
    explicit AnsweringChannel(FrameworkContext* context) : ProxyRequest(context) {}

    int sendRequest(const std::string& /*request*/, std::string& response) override {
        return answer(response);
    }
    int sendRequestTimed(const std::string& /*request*/, std::string& response,
                         int /*timeout*/) override {
        return answer(response);
    }
    int sendSubscribe(const std::string& /*request*/, std::string& response,
                      const std::string& /*channelName*/, int /*timeout*/) override {
        return answer(response);
    }
    int sendOneWay(const std::string& message) override {
        ++oneWay;
        posted = message;
        return 0;
    }

    void prepare(std::string text, bool appends) {
        next = std::move(text);
        append = appends;
        roundTrips = 0;
        oneWay = 0;
        preset.clear();
        left.clear();
    }

    std::string next;
    bool append = false;
    int roundTrips = 0;
    int oneWay = 0;
    std::string preset; // what the proxy handed over in the response
    std::string left;   // what the channel left there
    std::string posted;

private:
    int answer(std::string& response) {
        ++roundTrips;
        preset = response;
        response = append ? response + next : next;
        left = response;
        return 0;
    }
};

struct Checker {
    CommunicationsServiceProxy& proxy;
    AnsweringChannel& channel;
    std::string operation;

    void roundTrip(const char* expectedPreset = "") const {
        expectEqual(channel.roundTrips, 1, operation + ": round trips");
        expectEqual(channel.oneWay, 0, operation + ": one-way sends");
        expectEqual(channel.preset, std::string(expectedPreset),
                    operation + ": response handed over");
    }
    void result(int actual) const {
        roundTrip();
        expectEqual(actual, reference::result(channel.left), operation + ": result");
    }
    void posted() const {
        expectEqual(channel.roundTrips, 0, operation + ": round trips");
        expectEqual(channel.oneWay, 1, operation + ": one-way sends");
    }
    void untouched() const {
        expectEqual(channel.roundTrips + channel.oneWay, 0, operation + ": channel use");
    }
};

bool contains(const std::string& text, const char* word) {
    return reference::find(text, word) != reference::kMissing;
}

// Answers to yes/no queries: a failure word anywhere wins, then "true" anywhere.
void checkFlagQuery(const Checker& check, int result, bool value, bool before) {
    const std::string& answer = check.channel.left;
    if (contains(answer, "sfiFailure")) {
        expectEqual(result, 0, check.operation + ": result");
        expectEqual(value, before, check.operation + ": untouched output");
    } else {
        expectEqual(result, 5, check.operation + ": result");
        expectEqual(value, contains(answer, "true"), check.operation + ": output");
    }
}

void checkServiceState(const Checker& check, int result, sfiServiceState state,
                       sfiServiceState before) {
    const std::string& answer = check.channel.left;
    int expectedResult = 0;
    int expectedState = before;
    if (!contains(answer, "sfiFailure")) {
        const char* names[] = {"sfiServiceInService", "sfiServiceOutOfService",
                               "sfiServiceDoNotDisturb"};
        for (int value = 0; value < 3; ++value) {
            if (contains(answer, names[value])) {
                expectedResult = 5;
                expectedState = value;
                break;
            }
        }
    }
    expectEqual(result, expectedResult, check.operation + ": result");
    expectEqual(static_cast<int>(state), expectedState, check.operation + ": state");
}

void checkForwarding(const Checker& check, int result, bool status, const std::string& uri,
                     int ringCount) {
    const std::string& answer = check.channel.left;
    expectEqual(status, reference::proxyNumber("<status>", answer, "</status>") != 0,
                check.operation + ": status");
    expectEqual(uri, reference::proxyText("<uri>", answer, "</uri>"), check.operation + ": uri");
    expectEqual(
        ringCount,
        static_cast<int>(reference::proxyNumber("<cfnrRingCount>", answer, "</cfnrRingCount>")),
        check.operation + ": cfnrRingCount");
    expectEqual(result,
                reference::result(reference::proxyText("<sfiResult>", answer, "</sfiResult>")),
                check.operation + ": result");
}

void checkMessageWaiting(const Checker& check, FuzzedDataProvider& input) {
    int type = 7, returnType = 7, available = 7, waiting = 7;
    unsigned int newMsgs = 7, oldMsgs = 7, newUrgent = 7, oldUrgent = 7;
    std::string voiceMail = input.ConsumeBool() ? "before" : "";
    const int result = check.proxy.getMessageWaitingIndicator(
        type, newMsgs, oldMsgs, newUrgent, oldUrgent, returnType, available, waiting, voiceMail);
    check.roundTrip();
    const std::string& answer = check.channel.left;
    // Read as texts first, so a missing number converts "" to 0.
    const auto value = [&](const char* name) {
        return static_cast<int>(reference::number(reference::proxyText(
            std::string("<") + name + ">", answer, std::string("</") + name + ">")));
    };
    const auto counter = [&](const char* name) { return static_cast<unsigned int>(value(name)); };
    expectEqual(type, value("Type"), "Type");
    expectEqual(newMsgs, counter("newMsgs"), "newMsgs");
    expectEqual(oldMsgs, counter("oldMsgs"), "oldMsgs");
    expectEqual(newUrgent, counter("newUrgMsgs"), "newUrgMsgs");
    expectEqual(oldUrgent, counter("oldUrgMsgs"), "oldUrgMsgs");
    expectEqual(returnType, value("return_type"), "return_type");
    expectEqual(available, value("available_info"), "available_info");
    expectEqual(waiting, value("messages_waiting"), "messages_waiting");
    expectEqual(voiceMail, reference::proxyText("<voiceMailNumber>", answer, "</voiceMailNumber>"),
                "voiceMailNumber");
    expectEqual(
        result,
        reference::result(reference::proxyText("<func_return_val>", answer, "</func_return_val>")),
        "getMessageWaitingIndicator: result");
}

// Items between each '<' and the next '>' behind it; the next item starts at the next '<'
// after the previous one, not after its '>'.
void checkDevices(const Checker& check, FuzzedDataProvider& input) {
    std::vector<std::string> devices;
    if (input.ConsumeBool()) devices.push_back("kept");
    std::vector<std::string> expected = devices;
    const int result = check.proxy.getDevices(devices);
    check.roundTrip();
    const std::string& answer = check.channel.left;
    if (answer == "sfiFailure") {
        expectEqual(result, 0, "getDevices: result");
    } else {
        expectEqual(result, 5, "getDevices: result");
        for (std::size_t open = 0; open < answer.size(); ++open) {
            if (answer[open] != '<') continue;
            const std::size_t close = reference::find(answer, ">", open);
            if (close != reference::kMissing) {
                expected.push_back(answer.substr(open + 1, close - open - 1));
            }
        }
    }
    expectEqual(devices.size(), expected.size(), "getDevices: item count");
    for (std::size_t i = 0; i < devices.size(); ++i) {
        expectEqual(devices[i], expected[i], "getDevices: item " + std::to_string(i));
    }
}

struct Subscriber : Executable {
    void init(Context& /*context*/) override {}
    void shutdown() override {}
};

void runOperation(int operation, Checker& check, FuzzedDataProvider& input) {
    CommunicationsServiceIfc& service = check.proxy;
    const std::string line = "1001";
    const bool flag = input.ConsumeBool();
    switch (operation) {
    case 0: {
        const std::string& bytes = check.channel.next;
        service.processSignallingComponentEvent(bytes.data(), static_cast<int>(bytes.size()));
        check.posted();
        expectEqual(check.channel.posted, "SigEvent:" + bytes, "processSignallingComponentEvent");
        return;
    }
    case 1:
        return check.result(service.activate());
    case 2:
        return check.result(service.deactivate(flag));
    case 3:
        return check.result(service.callClear(line, 12, CSTAEventCauseNormalClearing));
    case 4:
        return check.result(service.outgoingCallMake(line, 12, "2002", flag, !flag, flag));
    case 5:
        return check.result(service.acceptCall(line, 12, flag));
    case 6:
        return check.result(service.answerCall(line, 12));
    case 7:
        return check.result(service.deflectCall(line, 12, "2002"));
    case 8:
        return check.result(service.holdCall(line, 12, sfiFeatureManual, flag));
    case 9:
        return check.result(service.retrieveCall(line, 12));
    case 10:
        return check.result(service.attendedTransferCall(line, 12, 13));
    case 11:
        return check.result(service.blindTransferCall(line, 12, "2002"));
    case 12:
        return check.result(service.SendCSTARequest(line, "<csta/>"));
    case 13: {
        std::string mutableLine = line;
        std::string message = "<csta/>";
        service.sendUACSTAServerMessage(mutableLine, message);
        return check.posted();
    }
    case 14:
        service.InitializeOrFinalizeServerFeatures(line, flag);
        return check.posted();
    case 15:
        return check.result(service.activateCallbackRinging(line, 12));
    case 16:
        return check.result(service.activateCallbackBusy(line, 12));
    case 17:
        return check.result(
            service.cancelCallbacks(line, 12, "sip:2002", sfiCancelCallBackSingle, flag));
    case 18:
        return check.result(service.consultationCall(line, 12, "2002"));
    case 19:
        return check.result(service.refuseCall(line, 12, sfiRefuseCallDecline));
    case 20: {
        Subscriber subscriber;
        return check.result(service.subscribe(&subscriber));
    }
    case 21:
        return check.result(service.directedPickupCall(line, 12, "2003", flag));
    case 22:
        return check.result(service.groupPickupCall(line, 12));
    case 23:
        return check.result(service.setServiceState(sfiServiceDoNotDisturb));
    case 24: {
        const auto before = static_cast<sfiServiceState>(input.ConsumeIntegralInRange(0, 2));
        sfiServiceState state = before;
        const int result = service.getServiceState(state);
        check.roundTrip("false");
        return checkServiceState(check, result, state, before);
    }
    case 25:
        return check.result(service.setDoNotDisturb(line, flag));
    case 26: {
        bool value = flag;
        const int result = service.getDoNotDisturb(line, value);
        check.roundTrip("false");
        return checkFlagQuery(check, result, value, flag);
    }
    case 27:
        return check.result(service.setAgentState(line, "ready"));
    case 28:
        return check.result(service.setMicrophoneMute(flag));
    case 29: {
        bool value = flag;
        const int result = service.getMicrophoneMute(value);
        check.roundTrip();
        return checkFlagQuery(check, result, value, flag);
    }
    case 30:
        return check.result(service.systemStatus("ok", "all well"));
    case 31:
        return check.result(service.generateDigits(line, 12, "123#"));
    case 32:
        return checkDevices(check, input);
    case 33:
        return check.result(service.conferenceCall(line, 12, 13, sfiFeatureNone));
    case 34:
        service.RemoveConfParticipant(12, "2002", "5");
        return check.posted();
    case 35: {
        const bool held = service.getManualHoldIndication(line, 12);
        check.roundTrip();
        return expectEqual(held, check.channel.left == "true", "getManualHoldIndication");
    }
    case 36:
        return check.result(service.alternateCalls(line));
    case 37:
        return checkMessageWaiting(check, input);
    case 38:
        return check.result(service.setAssociatedCalls(flag));
    case 39:
        return check.result(service.setLampMode(line, "7", 2));
    case 40:
        return check.result(service.makeSecurityChangeReinvite(line, 12, flag));
    case 41:
        service.setIsInServiceInitiatedState(line, flag);
        return check.posted();
    case 42:
        return check.result(
            service.setForwardingConfiguration(line, sfiForwardingBusy, flag, "sip:2002", 3, flag));
    case 43: {
        bool status = flag;
        std::string uri = "before";
        int ringCount = 7;
        const int result =
            service.getForwardingConfiguration(sfiForwardingNoReply, status, uri, ringCount);
        check.roundTrip();
        return checkForwarding(check, result, status, uri, ringCount);
    }
    case 44:
        service.callbackDOFeatureCallID("12", 3);
        return check.posted();
    case 45: {
        const bool possible = service.isCallHoldPossible(line);
        check.roundTrip();
        return expectEqual(possible, check.channel.left == "true", "isCallHoldPossible");
    }
    case 46:
        expectEqual(service.csCommunicationsService("name"), std::string(),
                    "csCommunicationsService");
        return check.untouched();
    case 47:
        service.activateStoredFwd();
        return check.untouched();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    FrameworkContext context;
    AnsweringChannel channel(&context);
    CommunicationsServiceProxy proxy;
    proxy.initProxy(channel);
    Checker check{proxy, channel, ""};
    // A few operations per input, each answered with its own text.
    for (int call = 0; call < 4 && input.remaining_bytes() > 0; ++call) {
        const int operation = input.ConsumeIntegralInRange(0, 47);
        const bool appends = input.ConsumeIntegralInRange(0, 7) == 0;
        channel.prepare(input.ConsumeRandomLengthString(512), appends);
        check.operation = "operation " + std::to_string(operation + 1);
        runOperation(operation, check, input);
    }
    return 0;
}

// Typed event delivery of the test support: the named arguments arrive as given, every
// other one neutral, or, when asked for, as from an event without its field; mistakes are
// refused with their name.

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CommunicationsService/testing/EventDelivery.h"
#include "CommunicationsService/testing/RecordingSubscriber.h"

namespace {

using namespace communications::testing;

struct DeliveryCase {
    const char* label;
    std::function<void(RecordingSubscriber&)> send;
    RecordedCall expected;
};

// The call-state event's arguments: the record's nine texts stand between the others.
std::vector<std::string> callState(std::vector<std::string> front,
                                   const std::vector<std::string>& parties,
                                   const std::vector<std::string>& back) {
    front.insert(front.end(), parties.begin(), parties.end());
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

void expectDeliveries(const std::vector<DeliveryCase>& cases) {
    for (const DeliveryCase& row : cases) {
        SCOPED_TRACE(row.label);
        RecordingSubscriber subscriber;
        row.send(subscriber);
        EXPECT_EQ(subscriber.calls(), std::vector<RecordedCall>{row.expected});
    }
}

// The service always sends whole events: what a test leaves out is neutral, never "set".
TEST(EventDelivery, WritesWholeEventsWithNeutralValuesForWhatTheTestLeavesOut) {
    expectDeliveries({
        {"incoming call",
         [](auto& s) {
             deliver(s, events::incomingCall, {{"lineId", "1001"}, {"callId", 12}});
         },
         {"onIncomingCallEvent",
          {"1001", "12", "", "", "", "", "", "false", "0", "", "", "0", "false", "0", "0", "0",
           "false"}}},
        {"call state: an empty party record",
         [](auto& s) {
             deliver(s, events::callStateChange, {{"callState", 4}});
         },
         {"onCallStateChangeEvent",
          callState({"", "0", "4", "0", "0", "", "", ""}, {"", "", "", "", "0", "", "", "", ""},
                    {"0", "0", "", "false", "0", "0"})}},
        {"counters and lists",
         [](auto& s) {
             deliver(s, events::messageWaiting, {{"newMessages", 3000000000u}});
         },
         {"onMessageWaitingEvent", {"", "0", "3000000000", "0", "0", "0", "0", "0", "0", ""}}},
        {"empty lists",
         [](auto& s) { deliver(s, events::securityStatusChanged); },
         {"onSecurityStatusChanged", {"", "0", "0", "[]", "[]"}}},
        {"payload left out",
         [](auto& s) { deliver(s, events::b2buaCSTAResponse); },
         {"onB2buaCSTAResponse", {"", "false", ""}}},
        {"payload named",
         [](auto& s) {
             deliver(s, events::b2buaCSTAResponse, {{"cstaResponse", "<Ok/>"}});
         },
         {"onB2buaCSTAResponse", {"", "false", "<Ok/>"}}},
    });
}

TEST(EventDelivery, WithMissingFieldsLeavesOutWhatTheTestDoesNotName) {
    const std::vector<DeliveryCase> cases = {
        {"incoming call",
         [](auto& s) {
             deliverWithMissingFields(s, events::incomingCall,
                                      {{"lineId", "1001"}, {"callId", 12}, {"uri", "sip:2005"}});
         },
         {"onIncomingCallEvent",
          {"1001", "12", "sip:2005", "", "", "", "", "true", "-1", "", "", "-1", "true", "-1", "-1",
           "-1", "true"}}},
        {"call state with two parties",
         [](auto& s) {
             deliverWithMissingFields(
                 s, events::callStateChange,
                 {{"callState", 4}, {"calledPartyName", "Desk"}, {"callingParty", "sip:2005"}});
         },
         {"onCallStateChangeEvent", callState({"", "-1", "4", "-1", "-1", "", "", ""},
                                              {"", "", "", "", "0", "Desk", "", "", "sip:2005"},
                                              {"-1", "-1", "", "true", "-1", "-1"})}},
        {"counters keep their 32 bits",
         [](auto& s) {
             deliverWithMissingFields(
                 s, events::messageWaiting,
                 {{"newMessages", 3000000000u}, {"oldMessages", 2}, {"voiceMailNumber", "8000"}});
         },
         {"onMessageWaitingEvent",
          {"", "-1", "3000000000", "2", "4294967295", "4294967295", "-1", "-1", "-1", "8000"}}},
        {"lists with bytes the encoding escapes",
         [](auto& s) {
             deliverWithMissingFields(
                 s, events::securityStatusChanged,
                 {{"callIdsRecorded", {1, -12}}, {"callLineURIsRecorded", {"sip:a;b", "<x>&%"}}});
         },
         {"onSecurityStatusChanged", {"", "-1", "-1", "[1, -12]", "[\"sip:a;b\", \"<x>&%\"]"}}},
        {"payload alone: its element reads as missing",
         [](auto& s) {
             deliverWithMissingFields(s, events::b2buaCSTAResponse, {{"cstaResponse", "<Ok/>"}});
         },
         {"onB2buaCSTAResponse", {"", "true", "<Ok/>"}}},
        {"payload after a named element",
         [](auto& s) {
             deliverWithMissingFields(
                 s, events::b2buaCSTAEventOrRequest,
                 {{"cstaMessage", "<Ev><a>1</a></Ev>"}, {"lineURI", "sip:1001"}});
         },
         {"onB2buaCSTAEventOrRequest", {"sip:1001", "<Ev><a>1</a></Ev>"}}},
        {"element without its payload",
         [](auto& s) {
             deliverWithMissingFields(s, events::b2buaCSTAResponse, {{"success", false}});
         },
         {"onB2buaCSTAResponse", {"", "false", ""}}},
    };
    expectDeliveries(cases);
}

struct Mistake {
    std::function<void()> send;
    std::string message;
};

TEST(EventDelivery, RefusesMistakesNamingTheEventAndTheArgument) {
    RecordingSubscriber subscriber;
    const std::vector<Mistake> cases = {
        {[&] {
             deliver(subscriber, events::callHeld, {{"callid", 12}});
         },
         "event CallHeldEvent: has no argument 'callid' (it has: lineId, callId)"},
        {[&] {
             deliver(subscriber, events::callStateChange, {{"callPartyInfo", "x"}});
         },
         "has no argument 'callPartyInfo' (it has: lineId, callId, callState, reason, "
         "sendOptions, uri, name, fullPai, callingParty, callingPartyName, calledParty, "
         "calledPartyName, resourcePriority"},
        {[&] {
             deliver(subscriber, events::callHeld, {{"callId", "12"}});
         },
         "event CallHeldEvent: argument 'callId' takes an int"},
        {[&] {
             deliver(subscriber, events::doNotDisturb, {{"doNotDisturbOn", 1}});
         },
         "argument 'doNotDisturbOn' takes a bool"},
        {[&] {
             deliver(subscriber, events::callHeld, {{"callId", 1}, {"callId", 2}});
         },
         "names 'callId' twice"},
        {[&] {
             deliver(subscriber, events::conferenceStatus, {{"xmlContent", "a</XMLContent>"}});
         },
         "the text of <XMLContent> cannot hold </XMLContent>"},
        {[&] {
             deliver(subscriber, events::callHeld, {{"lineId", static_cast<const char*>(nullptr)}});
         },
         "argument 'lineId' is null"},
    };
    for (const Mistake& mistake : cases) {
        SCOPED_TRACE(mistake.message);
        try {
            mistake.send();
            ADD_FAILURE() << "delivered";
        } catch (const std::invalid_argument& error) {
            EXPECT_NE(std::string(error.what()).find(mistake.message), std::string::npos)
                << error.what();
        }
    }
    EXPECT_TRUE(subscriber.calls().empty());
}

} // namespace

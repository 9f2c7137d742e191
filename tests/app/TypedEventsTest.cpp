// Events as the service sends them, through the plug-in's invoker into their typed structs,
// and on to the handler's overloads.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "CommunicationsService/app/EventHandler.h"
#include "CommunicationsService/app/TypedSubscriber.h"
#include "CommunicationsService/protocol/Catalogue.h"
#include "CommunicationsServiceEventInvoker.h"

namespace {

using namespace CommunicationsService::app;
namespace catalogue = CommunicationsService::protocol::catalogue;

// Delivers `text` as the framework would and returns what reached the sink.
std::vector<Event> received(const std::string& text) {
    std::vector<Event> events;
    TypedSubscriber subscriber([&](Event&& event, std::size_t) { events.push_back(event); });
    CommunicationsServiceEventInvoker().handleMessage(&subscriber, text.c_str(),
                                                      static_cast<int>(text.size()), nullptr);
    return events;
}

template <typename Struct> Struct onlyOne(const std::string& text) {
    const std::vector<Event> events = received(text);
    EXPECT_EQ(events.size(), 1u);
    EXPECT_TRUE(!events.empty() && std::holds_alternative<Struct>(events[0]));
    return events.empty() ? Struct{} : std::get<Struct>(events[0]);
}

TEST(TypedEvents, ACallStateTextBecomesACallStateChangeWithItsPartiesCopied) {
    const CallStateChange event = onlyOne<CallStateChange>(
        "<Method>CallStateChangeEvent</Method><LineID>1001</LineID><CallID>12</CallID>"
        "<CallState>3</CallState><Reason>4</Reason><SendOptions>5</SendOptions>"
        "<URI>sip:2002@pbx</URI><Name>Bob</Name><FullPAI>\"Bob\" &lt;sip:2002@pbx&gt;</FullPAI>"
        "<GPUCLG>sip:calling</GPUCLG><GPUCLGName>Calling</GPUCLGName><GPUCLD>sip:called</GPUCLD>"
        "<GPUCLDName>Called</GPUCLDName><ResourcePriority>6</ResourcePriority>"
        "<PreemptionCause>7</PreemptionCause><PreemptionText>pre-empted</PreemptionText>"
        "<CallBackFearureAvailable>0</CallBackFearureAvailable><ILCallLevel>8</ILCallLevel>"
        "<ILLocalLevel>9</ILLocalLevel>");
    EXPECT_EQ(event.lineId, "1001");
    EXPECT_EQ(event.callId, 12);
    EXPECT_EQ(event.callState, 3);
    EXPECT_EQ(event.reason, 4);
    EXPECT_EQ(event.sendOptions, 5);
    EXPECT_EQ(event.uri, "sip:2002@pbx");
    EXPECT_EQ(event.name, "Bob");
    EXPECT_EQ(event.fullPai, "\"Bob\" &lt;sip:2002@pbx&gt;");
    EXPECT_EQ(event.callPartyInfo.callingParty, "sip:calling");
    EXPECT_EQ(event.callPartyInfo.callingPartyName, "Calling");
    EXPECT_EQ(event.callPartyInfo.calledParty, "sip:called");
    EXPECT_EQ(event.callPartyInfo.calledPartyName, "Called");
    EXPECT_EQ(event.resourcePriority, 6);
    EXPECT_EQ(event.preemptionCause, 7);
    EXPECT_EQ(event.preemptionText, "pre-empted");
    EXPECT_FALSE(event.callBackFeatureAvailable);
    EXPECT_EQ(event.ilCallLevel, 8);
    EXPECT_EQ(event.ilLocalLevel, 9);
}

TEST(TypedEvents, AnIncomingCallTextBecomesAnIncomingCallWithEveryArgumentInItsPlace) {
    const IncomingCall event = onlyOne<IncomingCall>(
        "<Method>IncomingCallEvent</Method><LineID>1001</LineID><CallID>21</CallID>"
        "<URI>sip:3003@pbx</URI><Name>Carol</Name><FullPAI>&lt;sip:3003@pbx&gt;</FullPAI>"
        "<AlertInformation_AlertURI>http://ring/1</AlertInformation_AlertURI>"
        "<AlertInformation_InfoParam>info=internal</AlertInformation_InfoParam>"
        "<AlertInformation_AutoAnswer>0</AlertInformation_AutoAnswer><CallType>2</CallType>"
        "<DiversionURI>sip:4004@pbx</DiversionURI><DiversionName>Dave</DiversionName>"
        "<DiversionReason>3</DiversionReason><AICSZIPAutoAnswer>1</AICSZIPAutoAnswer>"
        "<ResourcePriority>4</ResourcePriority><ILCallLevel>5</ILCallLevel>"
        "<ILLocalLevel>6</ILLocalLevel><IsVideoCall>0</IsVideoCall>");
    EXPECT_EQ(event.lineId, "1001");
    EXPECT_EQ(event.callId, 21);
    EXPECT_EQ(event.uri, "sip:3003@pbx");
    EXPECT_EQ(event.name, "Carol");
    EXPECT_EQ(event.fullPai, "&lt;sip:3003@pbx&gt;");
    EXPECT_EQ(event.alertUri, "http://ring/1");
    EXPECT_EQ(event.alertInfoParam, "info=internal");
    EXPECT_FALSE(event.alertAutoAnswer);
    EXPECT_EQ(event.callType, 2);
    EXPECT_EQ(event.diversionUri, "sip:4004@pbx");
    EXPECT_EQ(event.diversionName, "Dave");
    EXPECT_EQ(event.diversionReason, 3);
    EXPECT_TRUE(event.zipAutoAnswer);
    EXPECT_EQ(event.resourcePriority, 4);
    EXPECT_EQ(event.ilCallLevel, 5);
    EXPECT_EQ(event.ilLocalLevel, 6);
    EXPECT_FALSE(event.isVideoCall);
}

TEST(TypedEvents, PassThroughPayloadsAndListsAreKeptWhole) {
    const B2buaCSTAResponse response = onlyOne<B2buaCSTAResponse>(
        "<Method>b2buaCSTAResponse</Method><lineURI>sip:1001@pbx</lineURI><success>1</success>"
        "<AnswerCallResponse/>");
    EXPECT_EQ(response.lineURI, "sip:1001@pbx");
    EXPECT_TRUE(response.success);
    EXPECT_EQ(response.cstaResponse, "<AnswerCallResponse/>");

    const SecurityStatusChanged security = onlyOne<SecurityStatusChanged>(
        "<Method>securityStatusChanged</Method><lineURI>sip:1001@pbx</lineURI><callId>4</callId>"
        "<securityStatus>2</securityStatus><CallIDsRecorded>12;7;</CallIDsRecorded>"
        "<CallLineURIsRecorded>sip:a%3Bb;sip:c;</CallLineURIsRecorded>");
    EXPECT_EQ(security.callIdsRecorded, (std::vector<int>{12, 7}));
    EXPECT_EQ(security.callLineURIsRecorded, (std::vector<std::string>{"sip:a;b", "sip:c"}));
}

// The record's texts are fixed arrays that need not end in a NUL within them.
TEST(TypedEvents, PartiesAreReadNoFurtherThanTheirArrays) {
    CallPartyInfo record{};
    std::memset(record.calledParty, 'x', sizeof record.calledParty);
    std::strcpy(record.callingPartyName, "Calling");
    std::memset(record.callingParty, 'y', sizeof record.callingParty);
    const CallParties parties(&record);
    EXPECT_EQ(parties.calledParty, std::string(65, 'x'));
    EXPECT_EQ(parties.calledPartyName, "");
    EXPECT_EQ(parties.callingPartyName, "Calling");
    EXPECT_EQ(parties.callingParty, std::string(65, 'y'));
    EXPECT_EQ(CallParties(nullptr).callingParty, "");
}

// Records the names of the events whose overloads it overrides, and what it visited.
struct TwoEventHandler : EventHandler {
    std::vector<std::string> seen;
    void on(const CallHeld& held) override { seen.push_back("held " + held.lineId); }
    void on(const DoNotDisturb& dnd) override {
        seen.push_back(std::string("dnd ") + (dnd.doNotDisturbOn ? "on" : "off"));
    }
};

// Every event selects its own struct, whatever the table's order, and its overload.
TEST(TypedEvents, EveryEventOfTheCatalogueBecomesTheStructOfItsRowNamedAfterItsCallback) {
    for (std::size_t row = 0; row < catalogue::kEvents.size(); ++row) {
        const catalogue::Event& entry = catalogue::kEvents[row];
        SCOPED_TRACE(entry.name);
        const std::vector<Event> events =
            received("<Method>" + std::string(entry.method) + "</Method>");
        ASSERT_EQ(events.size(), 1u);
        EXPECT_EQ(events[0].index(), row);
        EXPECT_EQ(nameOf(events[0]), entry.name);
    }
}

TEST(TypedEvents, AHandlerHearsOnlyTheOverloadsItOverrides) {
    TwoEventHandler handler;
    for (const char* text :
         {"<Method>CallHeldEvent</Method><LineID>1001</LineID>",
          "<Method>CallRetrievedEvent</Method><LineID>1001</LineID>",
          "<Method>DoNotDisturbEvent</Method><doNotDisturbOn>0</doNotDisturbOn>"})
        for (const Event& event : received(text))
            handler.handle(event);
    EXPECT_EQ(handler.seen, (std::vector<std::string>{"held 1001", "dnd off"}));
}

} // namespace

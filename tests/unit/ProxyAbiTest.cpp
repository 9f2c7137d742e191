// The binary layout that applications and the framework are compiled against: the slot of
// every virtual operation and where the channel keeps its context.

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "CommunicationsService/framework/Executable.h"
#include "CommunicationsService/framework/ProxyRequest.h"
#include "CommunicationsServiceProxy.h"
#include "support/VirtualSlot.h"

namespace {

#define SLOT(Class, op) slotOf(#op, &Class::op)

// Each table must hold its operations at consecutive positions starting at `first`.
void expectConsecutive(const std::vector<Slot>& slots, long first) {
    for (std::size_t i = 0; i < slots.size(); ++i) {
        EXPECT_EQ(slots[i].index, first + static_cast<long>(i)) << slots[i].name;
        EXPECT_EQ(slots[i].adjustment, 0) << slots[i].name;
    }
}

TEST(ProxyAbi, InterfaceOperationsSitInTheApplicationsSlotOrderWithoutADestructor) {
    static_assert(!std::has_virtual_destructor_v<CommunicationsServiceIfc>);
    using I = CommunicationsServiceIfc;
    const std::vector<Slot> slots = {
        SLOT(I, processSignallingComponentEvent),
        SLOT(I, activate),
        SLOT(I, deactivate),
        SLOT(I, callClear),
        SLOT(I, outgoingCallMake),
        SLOT(I, acceptCall),
        SLOT(I, answerCall),
        SLOT(I, deflectCall),
        SLOT(I, holdCall),
        SLOT(I, retrieveCall),
        SLOT(I, attendedTransferCall),
        SLOT(I, blindTransferCall),
        SLOT(I, SendCSTARequest),
        SLOT(I, sendUACSTAServerMessage),
        SLOT(I, InitializeOrFinalizeServerFeatures),
        SLOT(I, activateCallbackRinging),
        SLOT(I, activateCallbackBusy),
        SLOT(I, cancelCallbacks),
        SLOT(I, consultationCall),
        SLOT(I, refuseCall),
        SLOT(I, subscribe),
        SLOT(I, directedPickupCall),
        SLOT(I, groupPickupCall),
        SLOT(I, setServiceState),
        SLOT(I, getServiceState),
        SLOT(I, setDoNotDisturb),
        SLOT(I, getDoNotDisturb),
        SLOT(I, setAgentState),
        SLOT(I, setMicrophoneMute),
        SLOT(I, getMicrophoneMute),
        SLOT(I, systemStatus),
        SLOT(I, generateDigits),
        SLOT(I, getDevices),
        SLOT(I, conferenceCall),
        SLOT(I, RemoveConfParticipant),
        SLOT(I, getManualHoldIndication),
        SLOT(I, alternateCalls),
        SLOT(I, getMessageWaitingIndicator),
        SLOT(I, setAssociatedCalls),
        SLOT(I, setLampMode),
        SLOT(I, makeSecurityChangeReinvite),
        SLOT(I, setIsInServiceInitiatedState),
        SLOT(I, setForwardingConfiguration),
        SLOT(I, getForwardingConfiguration),
        SLOT(I, callbackDOFeatureCallID),
        SLOT(I, isCallHoldPossible),
        SLOT(I, csCommunicationsService),
        SLOT(I, activateStoredFwd),
    };
    ASSERT_EQ(slots.size(), 48u);
    expectConsecutive(slots, 0);
}

TEST(ProxyAbi, ProxyTableContinuesTheFrameworkProxyTableInTheFrameworksOrder) {
    using P = CommunicationsServiceProxy;
    const std::vector<Slot> slots = {
        SLOT(P, init),
        SLOT(P, shutdown),
        SLOT(P, timerEvent),
        SLOT(P, initProxy),
        SLOT(P, processSignallingComponentEvent),
        SLOT(P, activate),
        SLOT(P, deactivate),
        SLOT(P, callClear),
        SLOT(P, outgoingCallMake),
        SLOT(P, acceptCall),
        SLOT(P, answerCall),
        SLOT(P, deflectCall),
        SLOT(P, holdCall),
        SLOT(P, retrieveCall),
        SLOT(P, consultationCall),
        SLOT(P, attendedTransferCall),
        SLOT(P, blindTransferCall),
        SLOT(P, refuseCall),
        SLOT(P, subscribe),
        SLOT(P, SendCSTARequest),
        SLOT(P, InitializeOrFinalizeServerFeatures),
        SLOT(P, directedPickupCall),
        SLOT(P, groupPickupCall),
        SLOT(P, activateCallbackRinging),
        SLOT(P, activateCallbackBusy),
        SLOT(P, cancelCallbacks),
        SLOT(P, getDevices),
        SLOT(P, setServiceState),
        SLOT(P, getServiceState),
        SLOT(P, setDoNotDisturb),
        SLOT(P, getDoNotDisturb),
        SLOT(P, setMicrophoneMute),
        SLOT(P, getMicrophoneMute),
        SLOT(P, setAgentState),
        SLOT(P, systemStatus),
        SLOT(P, generateDigits),
        SLOT(P, conferenceCall),
        SLOT(P, RemoveConfParticipant),
        SLOT(P, getManualHoldIndication),
        SLOT(P, alternateCalls),
        SLOT(P, getMessageWaitingIndicator),
        SLOT(P, setAssociatedCalls),
        SLOT(P, setLampMode),
        SLOT(P, makeSecurityChangeReinvite),
        SLOT(P, setForwardingConfiguration),
        SLOT(P, getForwardingConfiguration),
        SLOT(P, setIsInServiceInitiatedState),
        SLOT(P, callbackDOFeatureCallID),
        SLOT(P, isCallHoldPossible),
        SLOT(P, csCommunicationsService),
        SLOT(P, activateStoredFwd),
        SLOT(P, sendUACSTAServerMessage),
    };
    ASSERT_EQ(slots.size(), 4u + 48u);
    expectConsecutive(slots, 2); // behind the destructor pair
}

TEST(ProxyAbi, FrameworkOperationsSitInTheSlotsTheLibraryCallsThrough) {
    const struct {
        Slot slot;
        long oneBased;
    } cases[] = {
        {SLOT(ProxyRequest, sendRequest), 7},    {SLOT(ProxyRequest, sendRequestTimed), 8},
        {SLOT(ProxyRequest, sendSubscribe), 10}, {SLOT(ProxyRequest, sendOneWay), 14},
        {SLOT(ProxyRequest, setProtocol), 17},   {SLOT(FrameworkContext, findChannel), 5},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.slot.index + 1, c.oneBased) << c.slot.name;
    }
}

TEST(ProxyAbi, ChannelContextSitsRightBehindTheTablePointer) {
    FrameworkContext owner;
    ProxyRequest channel(&owner);
    const auto* base = reinterpret_cast<const char*>(&channel);
    EXPECT_EQ(reinterpret_cast<const char*>(&channel.context) - base,
              static_cast<std::ptrdiff_t>(sizeof(void*)));
    FrameworkContext* stored;
    std::memcpy(&stored, base + sizeof(void*), sizeof stored);
    EXPECT_EQ(stored, &owner);
}

TEST(ProxyAbi, ProxyIsTwoTablePointersAndTheChannelWithTheFrameworkBaseFirst) {
    CommunicationsServiceProxy proxy;
    EXPECT_EQ(static_cast<void*>(static_cast<Proxy*>(&proxy)), static_cast<void*>(&proxy));
    EXPECT_EQ(sizeof(CommunicationsServiceProxy), 3 * sizeof(void*));
}

} // namespace

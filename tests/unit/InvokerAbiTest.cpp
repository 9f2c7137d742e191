// The binary contract with applications and the framework: the slot of every callback and
// the invoker's own table.

#include <gtest/gtest.h>

#include <type_traits>

#include "CommunicationsServiceEventInvoker.h"
#include "support/VirtualSlot.h"

namespace {

using Ifc = CommunicationsServiceEventIfc;

TEST(EventInterfaceAbi, KeepsEveryCallbackInItsSlot) {
    // In slot order, from slot 0.
    // clang-format off
    const long slots[] = {
        slotOf(&Ifc::onCallStateChangeEvent), slotOf(&Ifc::onRegistrationStateChangeEvent),
        slotOf(&Ifc::onIncomingCallEvent), slotOf(&Ifc::onIncomingPickupCallEvent),
        slotOf(&Ifc::onCallHeldEvent), slotOf(&Ifc::onCallRetrievedEvent),
        slotOf(&Ifc::onFeatureSuccessEvent), slotOf(&Ifc::onFeatureFailedEvent),
        slotOf(&Ifc::onRemoteEndpointDetailsChangedEvent), slotOf(&Ifc::onIncomingCallMissedEvent),
        slotOf(&Ifc::onCallForwardedEvent), slotOf(&Ifc::onIncomingAssociatedCallEvent),
        slotOf(&Ifc::onDevicesChangedEvent), slotOf(&Ifc::onMessageWaitingEvent),
        slotOf(&Ifc::onDoNotDisturbEvent), slotOf(&Ifc::onAgentStateEvent),
        slotOf(&Ifc::onSecurityStatusChanged), slotOf(&Ifc::onCallRecordingStatusEvent),
        slotOf(&Ifc::onPreemptionStatusChanged), slotOf(&Ifc::onImpactLevelChanged),
        slotOf(&Ifc::onSystemStatusEvent), slotOf(&Ifc::onServerFeatureStatusEvent),
        slotOf(&Ifc::onB2buaCSTAResponse), slotOf(&Ifc::onB2buaCSTAEventOrRequest),
        slotOf(&Ifc::onConferenceStatusEvent), slotOf(&Ifc::onCallCompletionEvent),
        slotOf(&Ifc::onCallCompletionFailedEvent), slotOf(&Ifc::onBluetoothAudioStatusChanged),
    };
    // clang-format on
    for (long slot = 0; slot < 28; ++slot)
        EXPECT_EQ(slots[slot], slot) << "callback " << slot;
    // No destructor in the table: the first callback is its first entry.
    EXPECT_FALSE(std::has_virtual_destructor_v<Ifc>);
    EXPECT_EQ(sizeof(Ifc), sizeof(void*));
}

TEST(InvokerAbi, KeepsHandleMessageThirdAndInitInvokerFourthBehindTheTwoDestructors) {
    EXPECT_EQ(slotOf(&Invoker::handleMessage), 2);
    EXPECT_EQ(slotOf(&Invoker::initInvoker), 3);
    EXPECT_EQ(slotOf(&InvokerResponse::messageHandled), 1);
    EXPECT_TRUE(std::has_virtual_destructor_v<Invoker>);
    // Nothing but the table pointer, and handlers that are not in the table.
    EXPECT_EQ(sizeof(CommunicationsServiceEventInvoker), sizeof(void*));
    EXPECT_EQ(slotOf(&CommunicationsServiceEventInvoker::callHeldEvent), -1);
}

} // namespace

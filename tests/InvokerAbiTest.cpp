// The binary contract with applications and the framework: the slot of every callback, the
// invoker's own table, and dispatch from the plug-in as the framework loads it.

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "CommunicationsService/testing/RecordingSubscriber.h"
#include "CommunicationsServiceEventInvoker.h"
#include "support/VirtualSlot.h"

namespace {

using communications::testing::RecordedCall;
using communications::testing::RecordingSubscriber;
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
    EXPECT_EQ(slotOf(&CommunicationsServiceEventInvoker::handleMessage), 2);
    EXPECT_EQ(slotOf(&InvokerResponse::messageHandled), 1);
    EXPECT_TRUE(std::has_virtual_destructor_v<Invoker>);
    // Nothing but the table pointer, and handlers that are not in the table.
    EXPECT_EQ(sizeof(CommunicationsServiceEventInvoker), sizeof(void*));
    EXPECT_EQ(slotOf(&CommunicationsServiceEventInvoker::callHeldEvent), -1);
}

// Loads the plug-in as the framework does and keeps it for the test's duration.
class LoadedPlugin {
public:
    LoadedPlugin() : handle(dlopen(PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL)) {}
    ~LoadedPlugin() {
        if (handle != nullptr) dlclose(handle);
    }
    void* symbol(const char* name) const { return handle ? dlsym(handle, name) : nullptr; }
    void* handle;
};

TEST(InvokerPlugin, DispatchesFromTheLoadedLibraryToASubscriberOfTheApplication) {
    LoadedPlugin plugin;
    ASSERT_NE(plugin.handle, nullptr) << dlerror();
    using Factory = Invoker* (*)();
    const auto create =
        reinterpret_cast<Factory>(plugin.symbol("createCommunicationsServiceEventInvoker"));
    ASSERT_NE(create, nullptr);
    Invoker* invoker = create();
    ASSERT_NE(invoker, nullptr);
    invoker->initInvoker(nullptr);

    struct Response : InvokerResponse {
        int handled = 0;
        void messageHandled() override { ++handled; }
    } response;
    RecordingSubscriber subscriber;
    const char* messages[] = {
        "<Method>CallStateChangeEvent</Method><LineID>1001</LineID><CallID>12</CallID>"
        "<CallState>3</CallState><GPUCLG>sip:a</GPUCLG>",
        "<Method>securityStatusChanged</Method><callId>4</callId>"
        "<CallIDsRecorded>1;2;</CallIDsRecorded><CallLineURIsRecorded>x;</CallLineURIsRecorded>",
        "<Method>b2buaCSTAEventOrRequest</Method><lineURI>1001</lineURI><ev/>",
        "<Method>DevicesChangedEvent</Method>",
    };
    for (const char* message : messages)
        invoker->handleMessage(&subscriber, message, 0, &response);
    delete invoker;

    const std::vector<RecordedCall> expected = {
        {"onCallStateChangeEvent",
         {"1001", "12", "3", "-1", "-1",    "",   "",   "", "",     "",   "",  "",
          "0",    "",   "",  "",   "sip:a", "-1", "-1", "", "true", "-1", "-1"}},
        {"onSecurityStatusChanged", {"", "4", "-1", "[1, 2]", "[\"x\"]"}},
        {"onB2buaCSTAEventOrRequest", {"1001", "<ev/>"}},
        {"onDevicesChangedEvent", {}},
    };
    EXPECT_EQ(subscriber.calls(), expected);
    EXPECT_EQ(response.handled, 4);
}

} // namespace

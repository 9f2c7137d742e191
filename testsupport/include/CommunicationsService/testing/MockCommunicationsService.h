#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "CommunicationsService/CommunicationsServiceIfc.h"

/// Test doubles with which an application's own unit tests stand in for the service.
namespace communications::testing {

/// @brief A GoogleMock double of the communications service's request interface.
///
/// Hand it to the code under test wherever that code expects a CommunicationsServiceIfc,
/// and set expectations on the operations it should call:
///
/// @code
/// communications::testing::MockCommunicationsService service;
/// EXPECT_CALL(service, answerCall("1001", 12)).WillOnce(::testing::Return(sfiSuccess));
/// @endcode
///
/// Nothing reaches a service: there is no channel behind the mock. Operations without an
/// expectation return GoogleMock's defaults, which for the result codes is 0, that is
/// #sfiFailure; a test that needs success says so with `Return(sfiSuccess)`.
///
/// Texts passed as C strings (the destinations, the digits, the system status, the
/// signalling data) are matched as texts, not as pointers: the mock hands them on as
/// `std::string` to the expectation, so `"sip:2002"` matches any pointer to that text.
///
/// @code
/// EXPECT_CALL(service, deflectCall("1001", 12, "sip:2002")).WillOnce(Return(sfiSuccess));
/// EXPECT_CALL(service, processSignallingComponentEvent(std::string("a\0b", 3), 3));
/// @endcode
///
/// The signalling data arrives as its @p length bytes. A null C string fails the test (the
/// real service would receive a request cut short) and arrives as the empty text.
class MockCommunicationsService : public CommunicationsServiceIfc {
public:
    MOCK_METHOD(void, processSignallingComponentEvent, (const std::string& data, int length));
    MOCK_METHOD(int, activate, (), (override));
    MOCK_METHOD(int, deactivate, (bool allowAutoActivate), (override));
    MOCK_METHOD(int, callClear, (const std::string& line, int callId, CSTAEventCause cause),
                (override));
    MOCK_METHOD(int, outgoingCallMake,
                (const std::string& line, int callId, const std::string& destination,
                 bool dssDirectCall, bool bridgeCall, bool callCompletionCall));
    MOCK_METHOD(int, acceptCall, (const std::string& line, int callId, bool autoAnswer),
                (override));
    MOCK_METHOD(int, answerCall, (const std::string& line, int callId), (override));
    MOCK_METHOD(int, deflectCall,
                (const std::string& line, int callId, const std::string& destination));
    MOCK_METHOD(int, holdCall,
                (const std::string& line, int callId, sfiFeature holdCallReason, bool manual),
                (override));
    MOCK_METHOD(int, retrieveCall, (const std::string& line, int callId), (override));
    MOCK_METHOD(int, attendedTransferCall, (const std::string& line, int activeCall, int heldCall),
                (override));
    MOCK_METHOD(int, blindTransferCall,
                (const std::string& line, int callId, const std::string& destination));
    MOCK_METHOD(int, SendCSTARequest, (const std::string& line, const std::string& cstaRequest),
                (override));
    MOCK_METHOD(void, sendUACSTAServerMessage, (std::string & line, std::string& serverMessage),
                (override));
    MOCK_METHOD(void, InitializeOrFinalizeServerFeatures,
                (const std::string& line, bool initialize), (override));
    MOCK_METHOD(int, activateCallbackRinging, (const std::string& line, int callId), (override));
    MOCK_METHOD(int, activateCallbackBusy, (const std::string& line, int callId), (override));
    MOCK_METHOD(int, cancelCallbacks,
                (const std::string& line, int callId, const std::string& uri,
                 sfiCancelCallBackType cancelCallBackType, bool displayOutcomeCallUI),
                (override));
    MOCK_METHOD(int, consultationCall,
                (const std::string& line, int callId, const std::string& destination));
    MOCK_METHOD(int, refuseCall,
                (const std::string& line, int callId, sfiRefuseCall refuseCallReason), (override));
    MOCK_METHOD(int, subscribe, (Executable * subscriber), (override));
    MOCK_METHOD(int, directedPickupCall,
                (const std::string& line, int callId, const std::string& callToBePickedUp,
                 bool blfPickup),
                (override));
    MOCK_METHOD(int, groupPickupCall, (const std::string& line, int callId), (override));
    MOCK_METHOD(int, setServiceState, (sfiServiceState state), (override));
    MOCK_METHOD(int, getServiceState, (sfiServiceState & state), (override));
    MOCK_METHOD(int, setDoNotDisturb, (const std::string& line, bool doNotDisturbOn), (override));
    MOCK_METHOD(int, getDoNotDisturb, (const std::string& deviceId, bool& doNotDisturbOn),
                (override));
    MOCK_METHOD(int, setAgentState, (const std::string& line, const std::string& agentState),
                (override));
    MOCK_METHOD(int, setMicrophoneMute, (bool status), (override));
    MOCK_METHOD(int, getMicrophoneMute, (bool& muted), (override));
    MOCK_METHOD(int, systemStatus,
                (const std::string& systemStatus, const std::string& systemStatusInfo));
    MOCK_METHOD(int, generateDigits,
                (const std::string& line, int activeCall, const std::string& digits));
    MOCK_METHOD(int, getDevices, (std::vector<std::string> & devices), (override));
    MOCK_METHOD(int, conferenceCall,
                (const std::string& line, int activeCall, int heldCall, sfiFeature feature),
                (override));
    MOCK_METHOD(void, RemoveConfParticipant,
                (int callId, const std::string& remoteParticipant,
                 const std::string& conferenceMemberId),
                (override));
    MOCK_METHOD(bool, getManualHoldIndication, (const std::string& line, int callId), (override));
    MOCK_METHOD(int, alternateCalls, (const std::string& line), (override));
    MOCK_METHOD(int, getMessageWaitingIndicator,
                (int& type, unsigned int& newMsgs, unsigned int& oldMsgs, unsigned int& newUrgMsgs,
                 unsigned int& oldUrgMsgs, int& returnType, int& availableInfo,
                 int& messagesWaiting, std::string& voiceMailNumber),
                (override));
    MOCK_METHOD(int, setAssociatedCalls, (bool associated), (override));
    MOCK_METHOD(int, setLampMode,
                (const std::string& line, const std::string& lampId, int lampMode), (override));
    MOCK_METHOD(int, makeSecurityChangeReinvite,
                (const std::string& line, int callId, bool forceFlag), (override));
    MOCK_METHOD(void, setIsInServiceInitiatedState,
                (const std::string& line, bool isInServiceInitiatedState), (override));
    MOCK_METHOD(int, setForwardingConfiguration,
                (const std::string& line, sfiForwardingType fwType, bool status,
                 const std::string& uri, int cfnrRingCount, bool forceTKVSUpdate),
                (override));
    MOCK_METHOD(int, getForwardingConfiguration,
                (sfiForwardingType fwType, bool& status, std::string& uri, int& cfnrRingCount),
                (override));
    MOCK_METHOD(void, callbackDOFeatureCallID, (const std::string& callId, int instanceId),
                (override));
    MOCK_METHOD(bool, isCallHoldPossible, (const std::string& line), (override));
    MOCK_METHOD(std::string, csCommunicationsService, (const std::string& name));
    MOCK_METHOD(void, activateStoredFwd, (), (override));

    // The operations that take C strings hand them on as texts to the mocked methods above.
    void processSignallingComponentEvent(const char* data, int length) override {
        processSignallingComponentEvent(data != nullptr && length > 0
                                            ? std::string(data, static_cast<std::size_t>(length))
                                            : std::string(),
                                        length);
    }
    int outgoingCallMake(const std::string& line, int callId, const char* destination,
                         bool dssDirectCall, bool bridgeCall, bool callCompletionCall) override {
        return outgoingCallMake(line, callId, text("outgoingCallMake", destination), dssDirectCall,
                                bridgeCall, callCompletionCall);
    }
    int deflectCall(const std::string& line, int callId, const char* destination) override {
        return deflectCall(line, callId, text("deflectCall", destination));
    }
    int blindTransferCall(const std::string& line, int callId, const char* destination) override {
        return blindTransferCall(line, callId, text("blindTransferCall", destination));
    }
    int consultationCall(const std::string& line, int callId, const char* destination) override {
        return consultationCall(line, callId, text("consultationCall", destination));
    }
    int systemStatus(const char* status, const char* statusInfo) override {
        return systemStatus(text("systemStatus", status), text("systemStatus", statusInfo));
    }
    int generateDigits(const std::string& line, int activeCall, const char* digits) override {
        return generateDigits(line, activeCall, text("generateDigits", digits));
    }
    std::string csCommunicationsService(const char* name) override {
        return csCommunicationsService(text("csCommunicationsService", name));
    }

private:
    // A null pointer fails the test: the service would receive a request cut short.
    static std::string text(const char* operation, const char* value) {
        if (value != nullptr) return value;
        ADD_FAILURE() << "MockCommunicationsService: " << operation << " was given a null text";
        return {};
    }
};

} // namespace communications::testing

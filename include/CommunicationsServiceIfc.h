#pragma once

#include <string>
#include <vector>

#include "CommunicationsServiceTypes.h"
#include "framework/Visibility.h"

class Executable;

// The requests an application sends to the phone's communications service. The slot
// order of this table is the ABI that applications are compiled against.
class FRAMEWORK_API CommunicationsServiceIfc {
public:
    virtual void processSignallingComponentEvent(const char* data, int length) = 0;
    virtual int activate() = 0;
    virtual int deactivate(bool allowAutoActivate) = 0;
    virtual int callClear(const std::string& line, int callId, CSTAEventCause cause) = 0;
    virtual int outgoingCallMake(const std::string& line, int callId, const char* destination,
                                 bool dssDirectCall, bool bridgeCall, bool callCompletionCall) = 0;
    virtual int acceptCall(const std::string& line, int callId, bool autoAnswer) = 0;
    virtual int answerCall(const std::string& line, int callId) = 0;
    virtual int deflectCall(const std::string& line, int callId, const char* destination) = 0;
    virtual int holdCall(const std::string& line, int callId, sfiFeature holdCallReason,
                         bool manual) = 0;
    virtual int retrieveCall(const std::string& line, int callId) = 0;
    virtual int attendedTransferCall(const std::string& line, int activeCall, int heldCall) = 0;
    virtual int blindTransferCall(const std::string& line, int callId, const char* destination) = 0;
    virtual int SendCSTARequest(const std::string& line, const std::string& cstaRequest) = 0;
    virtual void sendUACSTAServerMessage(std::string& line, std::string& serverMessage) = 0;
    virtual void InitializeOrFinalizeServerFeatures(const std::string& line, bool initialize) = 0;
    virtual int activateCallbackRinging(const std::string& line, int callId) = 0;
    virtual int activateCallbackBusy(const std::string& line, int callId) = 0;
    virtual int cancelCallbacks(const std::string& line, int callId, const std::string& uri,
                                sfiCancelCallBackType cancelCallBackType,
                                bool displayOutcomeCallUI) = 0;
    virtual int consultationCall(const std::string& line, int callId, const char* destination) = 0;
    virtual int refuseCall(const std::string& line, int callId, sfiRefuseCall refuseCallReason) = 0;
    virtual int subscribe(Executable* subscriber) = 0;
    virtual int directedPickupCall(const std::string& line, int callId,
                                   const std::string& callToBePickedUp, bool blfPickup) = 0;
    virtual int groupPickupCall(const std::string& line, int callId) = 0;
    virtual int setServiceState(sfiServiceState state) = 0;
    virtual int getServiceState(sfiServiceState& state) = 0;
    virtual int setDoNotDisturb(const std::string& line, bool doNotDisturbOn) = 0;
    virtual int getDoNotDisturb(const std::string& deviceId, bool& doNotDisturbOn) = 0;
    virtual int setAgentState(const std::string& line, const std::string& agentState) = 0;
    virtual int setMicrophoneMute(bool status) = 0;
    virtual int getMicrophoneMute(bool& muted) = 0;
    virtual int systemStatus(const char* systemStatus, const char* systemStatusInfo) = 0;
    virtual int generateDigits(const std::string& line, int activeCall, const char* digits) = 0;
    virtual int getDevices(std::vector<std::string>& devices) = 0;
    virtual int conferenceCall(const std::string& line, int activeCall, int heldCall,
                               sfiFeature feature) = 0;
    virtual void RemoveConfParticipant(int callId, const std::string& remoteParticipant,
                                       const std::string& conferenceMemberId) = 0;
    virtual bool getManualHoldIndication(const std::string& line, int callId) = 0;
    virtual int alternateCalls(const std::string& line) = 0;
    virtual int getMessageWaitingIndicator(int& type, unsigned int& newMsgs, unsigned int& oldMsgs,
                                           unsigned int& newUrgMsgs, unsigned int& oldUrgMsgs,
                                           int& returnType, int& availableInfo,
                                           int& messagesWaiting, std::string& voiceMailNumber) = 0;
    virtual int setAssociatedCalls(bool associated) = 0;
    virtual int setLampMode(const std::string& line, const std::string& lampId, int lampMode) = 0;
    virtual int makeSecurityChangeReinvite(const std::string& line, int callId, bool forceFlag) = 0;
    virtual void setIsInServiceInitiatedState(const std::string& line,
                                              bool isInServiceInitiatedState) = 0;
    virtual int setForwardingConfiguration(const std::string& line, sfiForwardingType fwType,
                                           bool status, const std::string& uri, int cfnrRingCount,
                                           bool forceTKVSUpdate) = 0;
    virtual int getForwardingConfiguration(sfiForwardingType fwType, bool& status, std::string& uri,
                                           int& cfnrRingCount) = 0;
    virtual void callbackDOFeatureCallID(const std::string& callId, int instanceId) = 0;
    virtual bool isCallHoldPossible(const std::string& line) = 0;
    virtual std::string csCommunicationsService(const char* name) = 0;
    virtual void activateStoredFwd() = 0;

protected:
    // Not in the table: the framework deletes the proxy through Executable.
    ~CommunicationsServiceIfc() = default;
};

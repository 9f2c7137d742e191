// The mock of the request interface, as an application's tests use it: C strings are
// matched by their text, wherever the code under test keeps them.

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "CommunicationsService/testing/MockCommunicationsService.h"

namespace {

using communications::testing::MockCommunicationsService;
using ::testing::Return;

TEST(MockService, MatchesCStringsByTheirText) {
    MockCommunicationsService mock;
    EXPECT_CALL(mock, outgoingCallMake("1001", 7, "sip:2002", true, false, false))
        .WillOnce(Return(sfiSuccess));
    EXPECT_CALL(mock, deflectCall("1001", 7, "2003")).WillOnce(Return(sfiSuccess));
    EXPECT_CALL(mock, blindTransferCall("1001", 7, "2004")).WillOnce(Return(sfiSuccess));
    EXPECT_CALL(mock, consultationCall("1001", 7, "2005")).WillOnce(Return(sfiSuccess));
    EXPECT_CALL(mock, generateDigits("1001", 7, "12#")).WillOnce(Return(sfiSuccess));
    EXPECT_CALL(mock, systemStatus("ready", "")).WillOnce(Return(sfiSuccess));
    EXPECT_CALL(mock, csCommunicationsService("name")).WillOnce(Return("value"));
    EXPECT_CALL(mock, processSignallingComponentEvent(std::string("a\0b", 3), 3));

    // Copies, so that no pointer equals the literal in the expectation.
    const std::string texts[] = {"sip:2002", "2003", "2004", "2005", "12#", "ready", "name"};
    CommunicationsServiceIfc& service = mock;
    EXPECT_EQ(service.outgoingCallMake("1001", 7, texts[0].c_str(), true, false, false),
              sfiSuccess);
    EXPECT_EQ(service.deflectCall("1001", 7, texts[1].c_str()), sfiSuccess);
    EXPECT_EQ(service.blindTransferCall("1001", 7, texts[2].c_str()), sfiSuccess);
    EXPECT_EQ(service.consultationCall("1001", 7, texts[3].c_str()), sfiSuccess);
    EXPECT_EQ(service.generateDigits("1001", 7, texts[4].c_str()), sfiSuccess);
    EXPECT_EQ(service.systemStatus(texts[5].c_str(), ""), sfiSuccess);
    EXPECT_EQ(service.csCommunicationsService(texts[6].c_str()), "value");
    service.processSignallingComponentEvent("a\0bc", 3);
}

TEST(MockService, ANullCStringFailsTheTest) {
    MockCommunicationsService mock;
    EXPECT_CALL(mock, deflectCall("1001", 7, "")).WillOnce(Return(sfiSuccess));
    CommunicationsServiceIfc& service = mock;
    EXPECT_NONFATAL_FAILURE(service.deflectCall("1001", 7, nullptr),
                            "deflectCall was given a null text");
}

} // namespace

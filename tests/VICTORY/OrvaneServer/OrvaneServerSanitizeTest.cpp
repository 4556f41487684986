#include "aspn2_msgs/CommandResponse.h"
#include "tests/VICTORY/OrvaneServer/BusFiles.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/OneConnection.h"
#include "tests/support/VictoryRecorder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

using namespace aspn2_msgs::idl;
using namespace std::chrono_literals;

namespace {

CommandResponse commandOf(const std::string& text)
{
    CommandResponse message;
    message.command_response_type(command_response_type_enum{0});
    message.command_response(text);
    return message;
}

}  // namespace

// The end of the bus service waits for its call-backs. One of them may just be sending a command, which arrives in this
// process within the sending, and waits for the arrival before it.
TEST(OrvaneServerSanitizeTest, ACallBackThatSendsACommandMeanwhileHoldsNothingUp)
{
    const HardDeadline deadline;
    OneConnection<CommandResponse> connection("CommandResponse", "Command");
    VictoryRecorder victory;
    ServerDoor server;
    BusFiles::giveTo(victory);
    server.bus().start(nullptr);
    victory.forgetCalls();
    server.turnPause() = 1ms;
    FACE::RETURN_CODE_TYPE::Value rc = FACE::RETURN_CODE_TYPE::NOT_AVAILABLE;
    server->Request_State_Transition(FACE::LCM::Halvex::RequestedState::START, rc);
    connection.registerSender();
    connection.onArrival = [&](const CommandResponse& message) { server.command(message); };
    const auto send = [&](const std::string& text) {
        EXPECT_EQ(connection.front()->write(connection.id(), commandOf(text)), FACE::RETURN_CODE_TYPE::NO_ERROR);
    };
    victory.onCall("vapntsDeleteService", [&] { std::thread([&] { send("REQUEST_ZEROIZE"); }).join(); });

    send("START_ZEROIZE");
    EXPECT_TRUE(connection.inbox.waitFor(2));
    EXPECT_TRUE(server.isSanitizeRequested());
    EXPECT_TRUE(victory.waitForCalls("vapntsTellSystemConfiguration", 1));
    EXPECT_EQ(victory.count("vapntsDeleteService"), 1U);
    server->Request_State_Transition(FACE::LCM::Halvex::RequestedState::STOP, rc);
    server.bus().stop();
}

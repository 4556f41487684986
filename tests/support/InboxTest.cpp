#include "tests/support/Transport.h"

#include <gtest/gtest.h>

#include <memory>

TEST(InboxTest, CallbackThatComesAfterItsEndIsStillKept)
{
    const auto message = std::make_shared<int>(7);
    FACE::TSS::Read_Callback<std::shared_ptr<int>> callback;
    {
        Inbox<std::shared_ptr<int>> inbox;
        callback = inbox.callback();
    }
    FACE::RETURN_CODE_TYPE::Value code = FACE::RETURN_CODE_TYPE::NO_ERROR;
    callback(0, 0, message, {}, {}, code);
    EXPECT_EQ(message.use_count(), 2);
    callback = nullptr;
    EXPECT_EQ(message.use_count(), 1);
}

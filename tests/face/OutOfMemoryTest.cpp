#include "face/FACE_Sequence.h"
#include "face/FACE_String.h"
#include "face/HX_Config.h"
#include "face/HX_Config_Helpers.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <future>
#include <new>
#include <string>
#include <thread>

using FACE::RETURN_CODE_TYPE;
using FACE::Sequence;
using FACE::String;

namespace {

constexpr const char* kLong = "a text that does not fit into the object itself";

/// A valid, managed string of `kLong`.
String longText()
{
    String::RETURN_CODE rc = String::INVALID_VALUE;
    return String(kLong, rc);
}

Sequence<int> numbers()
{
    Sequence<int> sequence;
    for (int i = 1; i <= 4; ++i) sequence.append(i);
    return sequence;
}

constexpr const char* kFile = R"(<HX_Configurations>
  <Device>
    <Name>the first container, with a name that has to be allocated</Name>
    <Parameters><Text>a value that has to be allocated too, being long</Text></Parameters>
  </Device>
  <Device>
    <Name>the second container, with a name that has to be allocated</Name>
    <Parameters><Text>another value that has to be allocated, as the first</Text></Parameters>
  </Device>
</HX_Configurations>
)";

}  // namespace

TEST(OutOfMemoryTest, StringThatCantCopyATextSaysSoAndIsNotValid)
{
    String::RETURN_CODE rc = String::NO_ERROR;
    bool valid = true;
    std::size_t refused = 0;
    {
        const FailingAllocation memory;
        const String text(kLong, rc);
        valid = text.is_valid();
        refused = memory.refused();
    }
    EXPECT_EQ(rc, 2);
    EXPECT_FALSE(valid);
    EXPECT_EQ(refused, 1u);
}

TEST(OutOfMemoryTest, ShortStringNeedsNoMemory)
{
    String::RETURN_CODE rc = String::INVALID_VALUE;
    bool valid = false;
    {
        const FailingAllocation memory;
        const String text("fifteen letters", rc);
        valid = text.is_valid() && String(text).is_valid();
    }
    EXPECT_EQ(rc, 0);
    EXPECT_TRUE(valid);
}

TEST(OutOfMemoryTest, ViewNeedsNoMemory)
{
    std::size_t refused = 1;
    bool valid = false;
    {
        const FailingAllocation memory;
        valid = String(kLong).is_valid();
        refused = memory.refused();
    }
    EXPECT_TRUE(valid);
    EXPECT_EQ(refused, 0u);
}

TEST(OutOfMemoryTest, CopyOfAStringIsNotValid)
{
    const String source = longText();
    bool valid = true;
    {
        const FailingAllocation memory;
        valid = String(source).is_valid();
    }
    EXPECT_FALSE(valid);
    EXPECT_STREQ(source.buffer(), kLong);
}

TEST(OutOfMemoryTest, StringAssignedToIsNotValid)
{
    const String source = longText();
    String target;
    target.append("kept");
    {
        const FailingAllocation memory;
        target = source;
    }
    EXPECT_FALSE(target.is_valid());
    target = source;
    EXPECT_STREQ(target.buffer(), kLong);
}

TEST(OutOfMemoryTest, AppendToAStringSaysSoAndChangesNothing)
{
    String text;
    text.append("fifteen letters");
    String::RETURN_CODE appended = String::NO_ERROR;
    String::RETURN_CODE appendedCharacter = String::NO_ERROR;
    {
        const FailingAllocation memory;
        appended = text.append("more");
        appendedCharacter = text.append('!');
    }
    EXPECT_EQ(appended, 2);
    EXPECT_EQ(appendedCharacter, 2);
    EXPECT_STREQ(text.buffer(), "fifteen letters");
}

TEST(OutOfMemoryTest, CopyOfASequenceIsNotValid)
{
    const Sequence<int> source = numbers();
    Sequence<int> target = numbers();
    bool valid = true;
    {
        const FailingAllocation memory;
        valid = Sequence<int>(source).is_valid();
        target = source;
    }
    EXPECT_FALSE(valid);
    EXPECT_FALSE(target.is_valid());
    EXPECT_EQ(source.length(), 4u);
}

TEST(OutOfMemoryTest, SequenceThatCantGrowSaysSoAndChangesNothing)
{
    Sequence<int> sequence = numbers();
    while (sequence.length() < sequence.capacity()) sequence.append(0);
    const std::uint32_t full = sequence.length();
    String::RETURN_CODE appended = String::NO_ERROR;
    String::RETURN_CODE lengthened = String::NO_ERROR;
    {
        const FailingAllocation memory;
        appended = sequence.append(5);
        lengthened = sequence.length(full + 1);
    }
    EXPECT_EQ(appended, 2);
    EXPECT_EQ(lengthened, 2);
    EXPECT_EQ(sequence.length(), full);
    EXPECT_EQ(sequence[3], 4);
}

TEST(OutOfMemoryTest, SequenceOfSettingsThatCantCopyATextSaysSoAndChangesNothing)
{
    using FACE::TSS::QoS_Element;
    Sequence<QoS_Element> settings;
    const QoS_Element element(longText(), longText());
    ASSERT_EQ(settings.append(element), 0);
    int refusals = 0;
    String::RETURN_CODE appended = String::INSUFFICIENT_MEMORY;
    for (std::size_t granted = 0; appended != 0 && granted < 100; ++granted) {
        {
            const FailingAllocation memory(granted);
            appended = settings.append(element);
        }
        if (appended == 0) break;
        ++refusals;
        EXPECT_EQ(appended, 2);
        EXPECT_EQ(settings.length(), 1u);
        EXPECT_STREQ(settings[0].name.buffer(), kLong);
        EXPECT_STREQ(settings[0].value.buffer(), kLong);
    }
    EXPECT_GE(refusals, 3);  // the new room, and two texts
    EXPECT_EQ(settings.length(), 2u);
    EXPECT_STREQ(settings[1].value.buffer(), kLong);
}

TEST(OutOfMemoryTest, SettingWhoseTextsCantBeCopiedThrowsAsItIsAssigned)
{
    const FACE::TSS::QoS_Element source(longText(), longText());
    FACE::TSS::QoS_Element target;
    for (std::size_t granted = 0; granted < 2; ++granted) {
        bool isThrown = false;
        try {
            const FailingAllocation memory(granted);
            target = source;
        } catch (const std::bad_alloc&) {
            isThrown = true;
        }
        EXPECT_TRUE(isThrown) << granted;
    }
    target = source;
    EXPECT_STREQ(target.value.buffer(), kLong);
}

TEST(OutOfMemoryTest, CopyOfASequenceOfSettingsIsWholeOrNotValid)
{
    Sequence<FACE::TSS::QoS_Element> settings;
    settings.append({longText(), longText()});
    Sequence<FACE::TSS::QoS_Element> copy;
    for (std::size_t granted = 0; granted < 3; ++granted) {
        {
            const FailingAllocation memory(granted);
            copy = settings;
        }
        EXPECT_FALSE(copy.is_valid()) << granted;
    }
    copy = settings;
    EXPECT_STREQ(copy[0].value.buffer(), kLong);
}

TEST(OutOfMemoryTest, ViewThatCantBecomeManagedKeepsItsTextUnwritten)
{
    String text(kLong);
    char seen = 'x';
    {
        const FailingAllocation memory;
        text[0] = 'y';
        seen = text[0];
    }
    EXPECT_EQ(seen, '\0');
    EXPECT_STREQ(text.buffer(), kLong);
}

TEST(OutOfMemoryTest, FileThatDoesNotFitIsABadFile)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("config.xml", kFile);
    const String name(path.c_str());
    FACE::HX_Config config;
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::INVALID_MODE;
    int refusals = 0;
    for (std::size_t granted = 1; rc != 0 && granted < 1000; ++granted) {  // the first is for the path
        {
            const FailingAllocation memory(granted);
            try {
                config.Initialize(name, rc);
            } catch (const std::bad_alloc&) {
                rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
            }
        }
        if (rc == 0) break;
        ++refusals;
        EXPECT_EQ(rc, 4) << granted;
    }
    EXPECT_GT(refusals, 2);
    int handle = -1;
    config.Open("Device", handle, rc);
    EXPECT_EQ(rc, 0);
}

TEST(OutOfMemoryTest, OtherThreadsAreNotRefused)
{
    std::promise<void> failing;
    bool valid = false;
    std::thread other([&] {
        failing.get_future().wait();
        valid = longText().is_valid();
    });
    {
        const FailingAllocation memory;
        failing.set_value();
        other.join();
    }
    EXPECT_TRUE(valid);
}

TEST(OutOfMemoryTest, GetStringNeverAnswersNoErrorWithoutTheText)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("config.xml", kFile);
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::INVALID_MODE;
    FACE::HX_Config config;
    int handle = -1;
    config.Initialize(path.c_str(), rc);
    config.Open("Device", handle, rc);
    ASSERT_EQ(rc, 0);
    String value;
    int copiesRefused = 0;
    bool complete = false;
    for (std::size_t granted = 0; !complete && granted < 100; ++granted) {
        value = String();
        rc = RETURN_CODE_TYPE::NO_ERROR;
        bool thrown = false;
        try {
            const FailingAllocation memory(granted);
            HX_Config_Helpers::Get_String_Parameter(config, handle, "Text", value, rc);
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        complete = !thrown && rc == 0;
        if (thrown || rc == 0) continue;
        ++copiesRefused;
        EXPECT_EQ(rc, 4);
        EXPECT_FALSE(value.is_valid());
    }
    EXPECT_EQ(copiesRefused, 1);
    EXPECT_STREQ(value.buffer(), "a value that has to be allocated too, being long");
}

TEST(OutOfMemoryTest, OpenThatFailsLeavesTheHandleAloneAndMayBeRepeated)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("config.xml", kFile);
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::INVALID_MODE;
    FACE::HX_Config config;
    int handle = -1;
    config.Initialize(path.c_str(), rc);
    bool isThrown = false;
    try {
        const FailingAllocation memory(0);
        config.Open("Device", handle, rc);
    } catch (const std::bad_alloc&) {
        isThrown = true;
    }
    EXPECT_TRUE(isThrown);
    EXPECT_EQ(handle, -1);
    config.Open("Device", handle, rc);
    EXPECT_EQ(HX_Config_Helpers::Details::Read_Config(config, handle, "Text"),
              "a value that has to be allocated too, being long");
}

TEST(OutOfMemoryTest, SelectionMovesWithoutMemory)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("config.xml", kFile);
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::INVALID_MODE;
    FACE::HX_Config config;
    int handle = -1;
    int again = -1;
    config.Initialize(path.c_str(), rc);
    config.Open("Device", handle, rc);
    ASSERT_EQ(rc, 0);
    {
        const FailingAllocation memory(0);
        config.Seek(handle, FACE::Configuration::WHENCE_TYPE::WHENCE_CURRENT, 1, rc);
    }
    EXPECT_EQ(HX_Config_Helpers::Details::Read_Config(config, handle, "Text"),
              "another value that has to be allocated, as the first");
    {
        const FailingAllocation memory(0);
        config.Open("the first container, with a name that has to be allocated", again, rc);
    }
    EXPECT_EQ(again, handle);
    EXPECT_EQ(HX_Config_Helpers::Details::Read_Config(config, handle, "Text"),
              "a value that has to be allocated too, being long");
}

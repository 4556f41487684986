#include "VICTORY/Utilities/VictoryXmlHelpers.h"

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <string>

namespace {

using VICTORY::FindElementWithAttribute;
using VICTORY::updateConfigItemInVclXml;

const char* const kVcl = R"(<?xml version="1.0"?>
<vcl:VCL type="ROOT">
  <outer><deep><a type="T" id="1"><item name="other" value="1"/><in><item name="updatePeriod" value="2"/></in></a></deep></outer>
  <b type="T" id="2"><item name="updatePeriod" value="3"/></b>
  <c type="EMPTY"/>
</vcl:VCL>)";

std::string printed(const tinyxml2::XMLDocument& document)
{
    tinyxml2::XMLPrinter printer;
    document.Print(&printer);
    return printer.CStr();
}

class VictoryXmlHelpersTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(m_document.Parse(kVcl), tinyxml2::XML_SUCCESS); }

    tinyxml2::XMLDocument m_document;
};

TEST_F(VictoryXmlHelpersTest, StartElementItselfIsLookedAt)
{
    auto* const root = m_document.RootElement();
    EXPECT_EQ(FindElementWithAttribute(root, "type", "ROOT"), root);
}

TEST_F(VictoryXmlHelpersTest, FirstInDocumentOrderDepthFirst)
{
    const auto* const found = FindElementWithAttribute(m_document.RootElement(), "type", "T");
    ASSERT_NE(found, nullptr);
    EXPECT_STREQ(found->Attribute("id"), "1");
}

TEST_F(VictoryXmlHelpersTest, ValueMustBeExact)
{
    EXPECT_EQ(FindElementWithAttribute(m_document.RootElement(), "type", "t"), nullptr);
    EXPECT_EQ(FindElementWithAttribute(m_document.RootElement(), "type", "EMPT"), nullptr);
    EXPECT_EQ(FindElementWithAttribute(m_document.RootElement(), "kind", "T"), nullptr);
}

TEST_F(VictoryXmlHelpersTest, NullsFindNothing)
{
    EXPECT_EQ(FindElementWithAttribute(nullptr, "type", "T"), nullptr);
    EXPECT_EQ(FindElementWithAttribute(m_document.RootElement(), nullptr, "T"), nullptr);
    EXPECT_EQ(FindElementWithAttribute(m_document.RootElement(), "type", nullptr), nullptr);
    EXPECT_FALSE(updateConfigItemInVclXml(m_document, "T", "updatePeriod", nullptr));
}

TEST_F(VictoryXmlHelpersTest, ItemOfTheFirstElementOfTheTypeIsChangedAlone)
{
    EXPECT_TRUE(updateConfigItemInVclXml(m_document, "T", "updatePeriod", "4294967295"));
    const auto text = printed(m_document);
    EXPECT_NE(text.find(R"(name="updatePeriod" value="4294967295")"), std::string::npos);
    EXPECT_NE(text.find(R"(name="updatePeriod" value="3")"), std::string::npos);
    EXPECT_NE(text.find(R"(name="other" value="1")"), std::string::npos);
}

TEST_F(VictoryXmlHelpersTest, MissingTypeOrItemChangesNothing)
{
    const auto before = printed(m_document);
    EXPECT_FALSE(updateConfigItemInVclXml(m_document, "NONE", "updatePeriod", "9"));
    EXPECT_FALSE(updateConfigItemInVclXml(m_document, "EMPTY", "updatePeriod", "9"));
    EXPECT_EQ(printed(m_document), before);
}

TEST(VictoryXmlDocumentTest, OnlyADocumentElementOfItsOwnNameIsLookedInto)
{
    tinyxml2::XMLDocument document;
    ASSERT_EQ(document.Parse(R"(<VCL><a type="T" name="n" value="1"/></VCL>)"), tinyxml2::XML_SUCCESS);
    EXPECT_FALSE(updateConfigItemInVclXml(document, "T", "n", "2"));
    tinyxml2::XMLDocument empty;
    EXPECT_FALSE(updateConfigItemInVclXml(empty, "T", "n", "2"));
}

TEST(VictoryXmlDocumentTest, TypeAndItemMayBeOneElement)
{
    tinyxml2::XMLDocument document;
    ASSERT_EQ(document.Parse(R"(<vcl:VCL><a type="T" name="n"/></vcl:VCL>)"), tinyxml2::XML_SUCCESS);
    EXPECT_TRUE(updateConfigItemInVclXml(document, "T", "n", "2"));
    EXPECT_NE(printed(document).find(R"(<a type="T" name="n" value="2"/>)"), std::string::npos);
}

}  // namespace

// Codes of the access library to texts.
#include "unitSupport.h"

#include "ZANTOutils.h"

TEST(Conversion, UnitCodesHaveALongAndAShortName)
{
    const struct {
        uint16_t code;
        const char *name;
        const char *symbol;
    } units[] = {{0, "None", ""},
                 {1, "Ampere", "A"},
                 {2, "Volt", "V"},
                 {3, "Watt", "W"},
                 {4, "Celsius",
                  "\xC2\xB0"
                  "C"},
                 {5, "Hertz", "Hz"},
                 {6, "Bar", "Bar"},
                 {7, "Vps", "Vps"},
                 {8, "Second", "sec"},
                 {9, "Rpm", "Rpm"},
                 {10, "Count", "Count"},
                 {11, "", ""},
                 {65535, "", ""}};
    for (const auto &unit : units) {
        SCOPED_TRACE(unit.code);
        EXPECT_EQ(ZANTOUtils::ZANTOConvertPropertyUnit(unit.code), unit.name);
        EXPECT_EQ(ZANTOUtils::ZANTOConvertPropertyUnitShortForm(unit.code), unit.symbol);
    }
}

TEST(Conversion, AnExponentWithoutAPrefixIsEmptyInTheLongFormAndABlankInTheShortOne)
{
    const struct {
        int16_t exponent;
        const char *name;
        const char *symbol;
    } exponents[] = {{6, "Mega", "M"},   {3, "Kilo", "K"},     {-3, "milli", "m"},
                     {-6, "micro", "u"}, {-9, "nano", "n"},    {0, "", " "},
                     {1, "", " "},       {-1, "", " "},        {9, "", " "},
                     {-12, "", " "},     {INT16_MIN, "", " "}, {INT16_MAX, "", " "}};
    for (const auto &e : exponents) {
        SCOPED_TRACE(e.exponent);
        EXPECT_EQ(ZANTOUtils::ZANTOConvertPropertyExp(e.exponent), e.name);
        EXPECT_EQ(ZANTOUtils::ZANTOConvertPropertyExpShortForm(e.exponent), e.symbol);
    }
}

TEST(Conversion, OnOffTypesHaveTwoTexts)
{
    EXPECT_EQ(ZANTOUtils::ZANTOConvertParamTypeOnOff(0), "Off");
    EXPECT_EQ(ZANTOUtils::ZANTOConvertParamTypeOnOff(1), "On");
    EXPECT_EQ(ZANTOUtils::ZANTOConvertParamTypeOnOff(2), "");
    EXPECT_EQ(ZANTOUtils::ZANTOConvertParamTypeOnOff(UINT32_MAX), "");
}

TEST(Conversion, ConnectionStatesHaveTexts)
{
    EXPECT_EQ(ZANTOUtils::ZANTOSelectConnectionStatus(connStatus_PENDING), "Connection Pending");
    EXPECT_EQ(ZANTOUtils::ZANTOSelectConnectionStatus(connStatus_OK), "Connection Ok");
    EXPECT_EQ(ZANTOUtils::ZANTOSelectConnectionStatus(connStatus_KO), "Connection Ko");
    EXPECT_EQ(ZANTOUtils::ZANTOSelectConnectionStatus(static_cast<connStatus>(3)), "");
}

// ---- channel status ----

namespace {

constexpr int32_t bit(int number) { return static_cast<int32_t>(1U << number); }

void expectStatus(int32_t status, const char *text, bool faultless)
{
    SCOPED_TRACE(status);
    for (const int32_t psType : {0, 1, -7, 1000}) {
        EXPECT_EQ(ZANTOUtils::ZANTOConvertChannelStatus(psType, status), text);
        EXPECT_EQ(ZANTOUtils::ZANTOCheckChStatusValue(psType, status), faultless);
    }
}

} // namespace

TEST(ChannelStatus, EachBitAloneHasItsText)
{
    const char *texts[] = {"",          "Up",        "Down",     "Ovc",       "Ovv",     "Unv",
                           "E-Tripped", "HVMax",     "Ext-Dis",  "I-Tripped", "Cal-Err", "Unplugg",
                           "Unc",       "Ovv Prot.", "Pwr Fail", "Temp Err."};
    for (int number = 0; number < 16; ++number)
        expectStatus(bit(number), texts[number], number <= 2);
}

TEST(ChannelStatus, BitsAboveFifteenAreIgnored)
{
    expectStatus(0, "", true);
    expectStatus(static_cast<int32_t>(0xFFFF0000), "", true);
    expectStatus(static_cast<int32_t>(0xFFFF0002), "Up", true);
}

TEST(ChannelStatus, TheMoreImportantOfTwoBitsDecides)
{
    // From the most important one on, while the channel is not ramping.
    const int order[] = {11, 10, 1, 6, 9, 8, 3, 4, 7, 5, 12, 13, 14, 15, 0};
    for (size_t first = 0; first < std::size(order); ++first) {
        const std::string text = ZANTOUtils::ZANTOConvertChannelStatus(0, bit(order[first]));
        for (size_t second = first + 1; second < std::size(order); ++second)
            expectStatus(bit(order[first]) | bit(order[second]), text.c_str(),
                         text == "Up" || text.empty());
    }
}

TEST(ChannelStatus, RampingDownNamesItsCause)
{
    expectStatus(bit(2) | bit(6), "E-Trp-Dwn", false);
    expectStatus(bit(2) | bit(9), "I-Trp-Dwn", false);
    expectStatus(bit(2) | bit(8), "E-Dis-Dwn", false);
    expectStatus(bit(2) | bit(6) | bit(9) | bit(8), "E-Trp-Dwn", false);
    expectStatus(bit(2) | bit(9) | bit(8), "I-Trp-Dwn", false);
    expectStatus(bit(2) | bit(11), "Unplugg", false);
    expectStatus(bit(2) | bit(10), "Cal-Err", false);
    expectStatus(bit(2) | bit(1), "Up", true);
}

TEST(ChannelStatus, RampingDownHidesTheOtherFaults)
{
    for (const int other : {3, 4, 5, 7, 12, 13, 14, 15})
        expectStatus(bit(2) | bit(other), "Down", true);
}

TEST(ChannelStatus, NamedExamples)
{
    expectStatus(0x0802, "Unplugg", false);
    expectStatus(0x0006, "Up", true);
    expectStatus(0x0044, "E-Trp-Dwn", false);
    expectStatus(0x0001, "", true);
    expectStatus(0x0104, "E-Dis-Dwn", false);
    expectStatus(0x0008, "Ovc", false);
    expectStatus(0x8000, "Temp Err.", false);
}

TEST(ChannelStatus, TheCheckAgreesWithTheTextForEveryWord)
{
    for (int32_t status = 0; status < 0x10000; ++status) {
        const std::string text = ZANTOUtils::ZANTOConvertChannelStatus(0, status);
        const bool faultless = text.empty() || text == "Up" || text == "Down";
        ASSERT_EQ(ZANTOUtils::ZANTOCheckChStatusValue(0, status), faultless) << status;
    }
}

// ---- board status ----

TEST(BoardStatus, EachBitAloneHasItsText)
{
    const char *texts[] = {"PW Fail", "FW CHKERR", "HvCal Err", "Temp Err", "Un Temp", "Ov Temp"};
    for (int number = 0; number < 6; ++number)
        EXPECT_EQ(ZANTOUtils::ZANTOConvertBoardStatus(bit(number)), texts[number]);
}

TEST(BoardStatus, TheMoreImportantOfTwoBitsDecides)
{
    const int order[] = {1, 0, 2, 3, 4, 5};
    for (size_t first = 0; first < std::size(order); ++first)
        for (size_t second = first + 1; second < std::size(order); ++second)
            EXPECT_EQ(ZANTOUtils::ZANTOConvertBoardStatus(bit(order[first]) | bit(order[second])),
                      ZANTOUtils::ZANTOConvertBoardStatus(bit(order[first])));
    EXPECT_EQ(ZANTOUtils::ZANTOConvertBoardStatus(0x3), "FW CHKERR");
}

TEST(BoardStatus, HigherBitsHaveNoText)
{
    EXPECT_EQ(ZANTOUtils::ZANTOConvertBoardStatus(0), "");
    EXPECT_EQ(ZANTOUtils::ZANTOConvertBoardStatus(0x40), "");
    EXPECT_EQ(ZANTOUtils::ZANTOConvertBoardStatus(static_cast<int32_t>(0xFFFFFFC0)), "");
}

// ---- lists ----

TEST(Conversion, OnlyEnumIsAnEnumerationProperty)
{
    EXPECT_EQ(ZANTOUtils::ZANTOSelectPropertyDataType("Enum"), nodeDataTypeEnum);
    for (const char *name :
         {"Minval", "Maxval", "Unit", "Exp", "Onstate", "Offstate", "Decimal", "enum", "Enum ", ""})
        EXPECT_EQ(ZANTOUtils::ZANTOSelectPropertyDataType(name), nodeDataTypeFloat) << name;
}

TEST(StringVector, PackedNamesAreSplitAtTheirNuls)
{
    char bytes[] = "A\0\0BC"; // and the last NUL
    char *list = bytes;
    EXPECT_EQ(ZANTOUtils::ZANTOCreateStringVectorFromCharSS(&list, 3), (Lines{"A", "", "BC"}));
    EXPECT_EQ(ZANTOUtils::ZANTOCreateStringVectorFromCharSS(&list, 1), Lines{"A"});
    EXPECT_EQ(list, bytes);
}

TEST(StringVector, NoListOrNoCountGivesNoNames)
{
    char bytes[] = "A";
    char *list = bytes;
    char *null = nullptr;
    EXPECT_EQ(ZANTOUtils::ZANTOCreateStringVectorFromCharSS(nullptr, 3), Lines{});
    EXPECT_EQ(ZANTOUtils::ZANTOCreateStringVectorFromCharSS(&list, 0), Lines{});
    EXPECT_EQ(ZANTOUtils::ZANTOCreateStringVectorFromCharSS(&list, -1), Lines{});
    EXPECT_EQ(ZANTOUtils::ZANTOCreateStringVectorFromCharSS(&null, 3), Lines{});
}

TEST(StringVector, ReleaseBytesHaveAtLeastTwoDigits)
{
    uint8_t bytes[] = {1, 10, 200, 0, 255};
    uint8_t *list = bytes;
    EXPECT_EQ(ZANTOUtils::ZANTOCreateStringVectorForFwRel(&list, 5),
              (Lines{"01", "10", "200", "00", "255"}));
}

TEST(StringVector, NoBytesOrNoCountGivesNoReleases)
{
    uint8_t bytes[] = {1};
    uint8_t *list = bytes;
    uint8_t *null = nullptr;
    EXPECT_EQ(ZANTOUtils::ZANTOCreateStringVectorForFwRel(&list, 0), Lines{});
    EXPECT_EQ(ZANTOUtils::ZANTOCreateStringVectorForFwRel(&list, -1), Lines{});
    EXPECT_EQ(ZANTOUtils::ZANTOCreateStringVectorForFwRel(nullptr, 1), Lines{});
    EXPECT_EQ(ZANTOUtils::ZANTOCreateStringVectorForFwRel(&null, 1), Lines{});
}

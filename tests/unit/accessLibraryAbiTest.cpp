// The layout and the types that the closed library fixes, and that a substitute has to keep.
#include "unitSupport.h"

#include "vexahvwrapper.h"

#include <cstddef>
#include <type_traits>

namespace {

template <typename Function> void expectSame(Function *, Function *) {}

class AccessLibraryAbi : public ZantoTest {};

} // namespace

TEST_F(AccessLibraryAbi, TheEventRecordHas1060Bytes)
{
    EXPECT_EQ(sizeof(VEXAHVEventData_t), 1060U);
    EXPECT_EQ(alignof(VEXAHVEventData_t), 4U);
    EXPECT_EQ(offsetof(VEXAHVEventData_t, Type), 0U);
    EXPECT_EQ(offsetof(VEXAHVEventData_t, SystemHandle), 4U);
    EXPECT_EQ(offsetof(VEXAHVEventData_t, BoardIndex), 8U);
    EXPECT_EQ(offsetof(VEXAHVEventData_t, ChannelIndex), 12U);
    EXPECT_EQ(offsetof(VEXAHVEventData_t, ItemID), 16U);
    EXPECT_EQ(offsetof(VEXAHVEventData_t, Value), 36U);
    EXPECT_EQ(sizeof(VEXAHVEventData_t::ItemID), 20U);
}

TEST_F(AccessLibraryAbi, TheEventsValueIsAUnionOf1024Bytes)
{
    EXPECT_EQ(sizeof(IDValue_t), 1024U);
    EXPECT_EQ(offsetof(IDValue_t, StringValue), 0U);
    EXPECT_EQ(offsetof(IDValue_t, FloatValue), 0U);
    EXPECT_EQ(offsetof(IDValue_t, IntValue), 0U);
    EXPECT_EQ(sizeof(IDValue_t::StringValue), 1024U);
    EXPECT_EQ(sizeof(IDValue_t::FloatValue), 4U);
    EXPECT_EQ(sizeof(IDValue_t::IntValue), 4U);
}

TEST_F(AccessLibraryAbi, AnEventReadsTheSameFromItsBytes)
{
    // A float of 1.5 for channel 3 of board 2 of handle 7, little-endian.
    std::string bytes("\0\0\0\0\7\0\0\0\2\0\0\0\3\0\0\0IMon", 20);
    bytes.resize(36, '\0');
    bytes += std::string("\0\0\xC0\x3F", 4);
    bytes.resize(1060, '\0');
    const auto event = FakeBytes{bytes}.as<VEXAHVEventData_t>();
    EXPECT_EQ(event.Type, PARAMETER);
    EXPECT_EQ(event.SystemHandle, 7);
    EXPECT_EQ(event.BoardIndex, 2);
    EXPECT_EQ(event.ChannelIndex, 3);
    EXPECT_STREQ(event.ItemID, "IMon");
    EXPECT_EQ(event.Value.FloatValue, 1.5F);
    EXPECT_EQ(event.Value.IntValue, 0x3FC00000);
}

TEST_F(AccessLibraryAbi, IntegersOfAnEventAreSigned)
{
    const auto event = FakeBytes{std::string(1060, '\xFF')}.as<VEXAHVEventData_t>();
    EXPECT_LT(event.SystemHandle, 0);
    EXPECT_LT(event.BoardIndex, 0);
    EXPECT_LT(event.ChannelIndex, 0);
    EXPECT_LT(event.Value.IntValue, 0);
}

TEST_F(AccessLibraryAbi, KindsOfEventsAndCodesHaveTheirNumbers)
{
    EXPECT_EQ(PARAMETER, 0);
    EXPECT_EQ(ALARM, 1);
    EXPECT_EQ(KEEPALIVE, 2);
    EXPECT_EQ(VEXAHV_PARAM_NUMERIC, 0);
    EXPECT_EQ(VEXAHV_PARAM_ONOFF, 1);
    EXPECT_EQ(VEXAHV_PARAM_CHANNEL_STATUS, 2);
    EXPECT_EQ(VEXAHV_PARAM_BOARD_STATUS, 3);
    EXPECT_EQ(VEXAHV_PARAM_INTEGER, 4);
    EXPECT_EQ(VEXAHV_PARAM_STRING, 5);
    EXPECT_EQ(VEXAHV_PARAM_ENUM, 6);
    EXPECT_EQ(VEXAHV_SYSPROP_TEXT, 0);
    EXPECT_EQ(VEXAHV_SYSPROP_REAL, 1);
    EXPECT_EQ(VEXAHV_SYSPROP_UINT16, 2);
    EXPECT_EQ(VEXAHV_SYSPROP_UINT32, 3);
    EXPECT_EQ(VEXAHV_SYSPROP_INT16, 4);
    EXPECT_EQ(VEXAHV_SYSPROP_INT32, 5);
    EXPECT_EQ(VEXAHV_SYSPROP_BOOLEAN, 6);
    EXPECT_EQ(VEXAHV_MODE_READ, 0);
    EXPECT_EQ(VEXAHV_MODE_WRITE, 1);
    EXPECT_EQ(VEXAHV_MODE_READWRITE, 2);
}

TEST_F(AccessLibraryAbi, NamesAndTextsHaveTheirSizes)
{
    EXPECT_EQ(VEXAHV_PARAM_NAME_SLOT, 10);
    EXPECT_EQ(VEXAHV_CHANNEL_NAME_SLOT, 12);
    EXPECT_EQ(VEXAHV_TEXT_SIZE, 1024);
    EXPECT_EQ(sizeof(VEXAHVSystemStatus_t), 1024U);
}

// Each line compiles only while the operation has exactly this signature.
TEST_F(AccessLibraryAbi, TheOperationsHaveTheirSignatures)
{
    static_assert(std::is_same_v<VEXAHVRESULT, int32_t>, "a result has 32 bits and a sign");
    using I32 = int32_t;
    using U16 = uint16_t;
    using U32 = uint32_t;
    using Text = const char *;
    expectSame<I32(I32, I32, Text, Text, Text, I32 *)>(VEXAHV_InitSystem, nullptr);
    expectSame<I32(I32)>(VEXAHV_DeinitSystem, nullptr);
    expectSame<I32(I32, U16 *, char **)>(VEXAHV_GetSysPropList, VEXAHV_GetExecCommList);
    expectSame<I32(I32, Text, U32 *, U32 *)>(VEXAHV_GetSysPropInfo, nullptr);
    expectSame<I32(I32, Text, void *)>(VEXAHV_GetSysProp, nullptr);
    expectSame<I32(I32, Text, const void *)>(VEXAHV_SetSysProp, nullptr);
    expectSame<I32(I32, Text)>(VEXAHV_ExecComm, nullptr);
    expectSame<I32(I32, U16 *, U16 **, char **, char **, U16 **, uint8_t **, uint8_t **)>(
        VEXAHV_GetCrateMap, nullptr);
    expectSame<I32(I32, U16, char **)>(VEXAHV_GetBdParamInfo, nullptr);
    expectSame<I32(I32, U16, Text, Text, void *)>(VEXAHV_GetBdParamProp, nullptr);
    expectSame<I32(I32, U16, const U16 *, Text, void *)>(VEXAHV_GetBdParam, nullptr);
    expectSame<I32(I32, U16, const U16 *, Text, const void *)>(VEXAHV_SetBdParam, nullptr);
    expectSame<I32(I32, U16, U16, const U16 *, char(*)[12])>(VEXAHV_GetChName, nullptr);
    expectSame<I32(I32, U16, U16, const U16 *, Text)>(VEXAHV_SetChName, nullptr);
    expectSame<I32(I32, U16, U16, char **, I32 *)>(VEXAHV_GetChParamInfo, nullptr);
    expectSame<I32(I32, U16, U16, Text, Text, void *)>(VEXAHV_GetChParamProp, nullptr);
    expectSame<I32(I32, U16, Text, U16, const U16 *, void *)>(VEXAHV_GetChParam, nullptr);
    expectSame<I32(I32, U16, Text, U16, const U16 *, const void *)>(VEXAHV_SetChParam, nullptr);
    expectSame<I32(I32, int16_t, Text, U32, char *)>(VEXAHV_SubscribeSystemParams,
                                                     VEXAHV_UnSubscribeSystemParams);
    expectSame<I32(I32, int16_t, U16, Text, U32, char *)>(VEXAHV_SubscribeBoardParams,
                                                          VEXAHV_UnSubscribeBoardParams);
    expectSame<I32(I32, int16_t, U16, U16, Text, U32, char *)>(VEXAHV_SubscribeChannelParams,
                                                               VEXAHV_UnSubscribeChannelParams);
    expectSame<I32(I32, VEXAHVSystemStatus_t *, VEXAHVEventData_t **, U32 *)>(VEXAHV_GetEventData,
                                                                              nullptr);
    expectSame<I32(VEXAHVEventData_t **)>(VEXAHV_FreeEventData, nullptr);
    expectSame<I32(void *)>(VEXAHV_Free, nullptr);
}

TEST_F(AccessLibraryAbi, ReleasingANullPointerDoesNothing)
{
    EXPECT_EQ(VEXAHV_Free(nullptr), 0);
    EXPECT_EQ(fake.nullReleases(), 1U);
}

TEST_F(AccessLibraryAbi, AReleasedEventArrayIsGone)
{
    fake.queueEvents({FakeAccessLibrary::event(1, 2, "VSet", FakeBytes::of(1.5F))});
    VEXAHVSystemStatus_t status;
    VEXAHVEventData_t *events = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(VEXAHV_GetEventData(3, &status, &events, &count), 0);
    ASSERT_EQ(count, 1U);
    EXPECT_STREQ(events[0].ItemID, "VSet");
    EXPECT_EQ(VEXAHV_FreeEventData(&events), 0);
    EXPECT_EQ(events, nullptr);
    EXPECT_NE(VEXAHV_GetEventData(3, &status, &events, &count), 0);
}

/* Interface of the mainframe access library, libvexahvwrapper.
 *
 * The library is a closed one and is chosen by the dynamic loader, so this
 * header fixes the binary interface: C linkage, fixed-width types and the
 * layout of the event record. Nothing here depends on who wrote the library.
 *
 * Rules that hold for every operation
 *  - The result is 0 on success; any other value is a failure. Failure codes
 *    carry no meaning that a caller could rely on.
 *  - After a failure no output argument has been written, and nothing has to
 *    be released.
 *  - Texts and names passed in are NUL-terminated and stay the caller's.
 *  - An output pointer to a pointer receives a buffer that the library
 *    allocates and the caller releases exactly once with VEXAHV_Free (event
 *    arrays: VEXAHV_FreeEventData). Every other output is the caller's buffer.
 *  - All operations may be called from any thread. They block until the
 *    mainframe has answered; VEXAHV_GetEventData waits without a limit.
 */
#pragma once

#ifdef __cplusplus
#include <cstddef>
#include <cstdint>
#define VEXAHV_STATIC_ASSERT(condition, text) static_assert(condition, text)
extern "C" {
#else
#include <stddef.h>
#include <stdint.h>
#define VEXAHV_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif

typedef int32_t VEXAHVRESULT;

enum { VEXAHV_OK = 0 };

/* Login codes: the mainframe family served, and a link over TCP/IP. */
enum { VEXAHV_SYSTEM_MAINFRAME = 2, VEXAHV_LINK_TCPIP = 0 };

/* Sizes in bytes, each with the NUL included. */
enum {
    VEXAHV_PARAM_NAME_SLOT = 10,   /* one slot of a parameter name table */
    VEXAHV_CHANNEL_NAME_SLOT = 12, /* one slot of a channel name table */
    VEXAHV_TEXT_SIZE = 1024,       /* longest text-valued answer */
    VEXAHV_SYSTEM_STATUS_SIZE = 1024,
    VEXAHV_ITEM_ID_SIZE = 20
};

/* Value of a parameter's "Type" property. */
enum {
    VEXAHV_PARAM_NUMERIC = 0,        /* float */
    VEXAHV_PARAM_ONOFF = 1,          /* uint32_t */
    VEXAHV_PARAM_CHANNEL_STATUS = 2, /* int32_t, bit field */
    VEXAHV_PARAM_BOARD_STATUS = 3,   /* int32_t, bit field */
    VEXAHV_PARAM_INTEGER = 4,        /* int32_t, bit pattern */
    VEXAHV_PARAM_STRING = 5,         /* no get or set call, events only */
    VEXAHV_PARAM_ENUM = 6            /* int32_t */
};

/* Value of a parameter's "Mode" property and of a system property's mode.
 * Any code above 2 means no access at all. */
enum { VEXAHV_MODE_READ = 0, VEXAHV_MODE_WRITE = 1, VEXAHV_MODE_READWRITE = 2 };

/* Type of a system property: the shape of the value buffer. */
enum {
    VEXAHV_SYSPROP_TEXT = 0, /* text of at most VEXAHV_TEXT_SIZE */
    VEXAHV_SYSPROP_REAL = 1, /* float */
    VEXAHV_SYSPROP_UINT16 = 2,
    VEXAHV_SYSPROP_UINT32 = 3,
    VEXAHV_SYSPROP_INT16 = 4,
    VEXAHV_SYSPROP_INT32 = 5,
    VEXAHV_SYSPROP_BOOLEAN = 6 /* int16_t, 0 or 1 */
};

/* Names of parameter properties and the value that each answers. */
#define VEXAHV_PROP_TYPE "Type"         /* uint32_t */
#define VEXAHV_PROP_MODE "Mode"         /* uint32_t */
#define VEXAHV_PROP_MINVAL "Minval"     /* float */
#define VEXAHV_PROP_MAXVAL "Maxval"     /* float */
#define VEXAHV_PROP_UNIT "Unit"         /* uint16_t */
#define VEXAHV_PROP_EXP "Exp"           /* int16_t, power of ten */
#define VEXAHV_PROP_DECIMAL "Decimal"   /* int16_t */
#define VEXAHV_PROP_ONSTATE "Onstate"   /* text */
#define VEXAHV_PROP_OFFSTATE "Offstate" /* text */
#define VEXAHV_PROP_ENUM "Enum"         /* never decoded */

/* Kinds of events: the values of the record's member Type. */
enum {
    PARAMETER = 0, /* a parameter or a system property has a new value */
    ALARM = 1,     /* a board was inserted or removed */
    KEEPALIVE = 2
};

typedef union {
    char StringValue[VEXAHV_TEXT_SIZE]; /* NUL-terminated */
    float FloatValue;
    int32_t IntValue;
} IDValue_t;

/* One event. Which member of Value is valid follows from the type of the item
 * that the event names. Type is a plain integer so that an unknown kind is a
 * value like any other. */
typedef struct {
    int32_t Type;
    int32_t SystemHandle;
    int32_t BoardIndex;   /* negative: not a board's item */
    int32_t ChannelIndex; /* negative: not a channel's item */
    char ItemID[VEXAHV_ITEM_ID_SIZE];
    IDValue_t Value;
} VEXAHVEventData_t;

VEXAHV_STATIC_ASSERT(offsetof(VEXAHVEventData_t, Type) == 0, "event record layout");
VEXAHV_STATIC_ASSERT(offsetof(VEXAHVEventData_t, SystemHandle) == 4, "event record layout");
VEXAHV_STATIC_ASSERT(offsetof(VEXAHVEventData_t, BoardIndex) == 8, "event record layout");
VEXAHV_STATIC_ASSERT(offsetof(VEXAHVEventData_t, ChannelIndex) == 12, "event record layout");
VEXAHV_STATIC_ASSERT(offsetof(VEXAHVEventData_t, ItemID) == 16, "event record layout");
VEXAHV_STATIC_ASSERT(offsetof(VEXAHVEventData_t, Value) == 36, "event record layout");
VEXAHV_STATIC_ASSERT(sizeof(IDValue_t) == 1024, "event value size");
VEXAHV_STATIC_ASSERT(sizeof(VEXAHVEventData_t) == 1060, "event record size");

/* Filled by VEXAHV_GetEventData with contents of the library's own choosing;
 * callers only provide the room. */
typedef union {
    unsigned char Bytes[VEXAHV_SYSTEM_STATUS_SIZE];
    uint64_t Alignment;
} VEXAHVSystemStatus_t;

VEXAHV_STATIC_ASSERT(sizeof(VEXAHVSystemStatus_t) == VEXAHV_SYSTEM_STATUS_SIZE, "status size");

/* --- Session ------------------------------------------------------------- */

/* Logs in at the mainframe named by linkArg (host address). On success *handle
 * names the session in all later calls; on failure it is unchanged. */
VEXAHVRESULT VEXAHV_InitSystem(int32_t systemType, int32_t linkType, const char *linkArg,
                               const char *userName, const char *password, int32_t *handle);

/* Logs out. The handle is invalid afterwards, whatever the result. */
VEXAHVRESULT VEXAHV_DeinitSystem(int32_t handle);

/* --- System properties and commands --------------------------------------- */

/* *list receives *count names, one after another, each ended by a NUL.
 * With a count of 0 the list must neither be read nor released. */
VEXAHVRESULT VEXAHV_GetSysPropList(int32_t handle, uint16_t *count, char **list);
VEXAHVRESULT VEXAHV_GetExecCommList(int32_t handle, uint16_t *count, char **list);

/* Mode first, then type. */
VEXAHVRESULT VEXAHV_GetSysPropInfo(int32_t handle, const char *name, uint32_t *mode,
                                   uint32_t *type);

/* value is shaped by the property's type; a text needs VEXAHV_TEXT_SIZE bytes. */
VEXAHVRESULT VEXAHV_GetSysProp(int32_t handle, const char *name, void *value);
VEXAHVRESULT VEXAHV_SetSysProp(int32_t handle, const char *name, const void *value);

VEXAHVRESULT VEXAHV_ExecComm(int32_t handle, const char *name);

/* --- Boards ---------------------------------------------------------------- */

/* Six library-allocated lists with one entry per slot: models and descriptions
 * as packed NUL-ended texts, the others as arrays. A channel count of 0 marks
 * an empty slot. All six are released one by one. */
VEXAHVRESULT VEXAHV_GetCrateMap(int32_t handle, uint16_t *slotCount, uint16_t **channelCounts,
                                char **models, char **descriptions, uint16_t **serialNumbers,
                                uint8_t **firmwareMinor, uint8_t **firmwareMajor);

/* *nameTable receives an array of VEXAHV_PARAM_NAME_SLOT-byte slots, each with
 * a NUL-ended name; the first slot that starts with a NUL ends it. */
VEXAHVRESULT VEXAHV_GetBdParamInfo(int32_t handle, uint16_t slot, char **nameTable);

/* value is shaped by the property (see VEXAHV_PROP_...). */
VEXAHVRESULT VEXAHV_GetBdParamProp(int32_t handle, uint16_t slot, const char *param,
                                   const char *property, void *value);

/* values has one 4-byte element per slot, its type given by the parameter's
 * type. A set writes the one value to every slot of the list. */
VEXAHVRESULT VEXAHV_GetBdParam(int32_t handle, uint16_t count, const uint16_t *slots,
                               const char *param, void *values);
VEXAHVRESULT VEXAHV_SetBdParam(int32_t handle, uint16_t count, const uint16_t *slots,
                               const char *param, const void *value);

/* --- Channels --------------------------------------------------------------- */

/* names is the caller's table with one slot per channel asked for. */
VEXAHVRESULT VEXAHV_GetChName(int32_t handle, uint16_t slot, uint16_t count,
                              const uint16_t *channels, char (*names)[VEXAHV_CHANNEL_NAME_SLOT]);
VEXAHVRESULT VEXAHV_SetChName(int32_t handle, uint16_t slot, uint16_t count,
                              const uint16_t *channels, const char *name);

/* As VEXAHV_GetBdParamInfo; *count is the number of names before the end. */
VEXAHVRESULT VEXAHV_GetChParamInfo(int32_t handle, uint16_t slot, uint16_t channel,
                                   char **nameTable, int32_t *count);
VEXAHVRESULT VEXAHV_GetChParamProp(int32_t handle, uint16_t slot, uint16_t channel,
                                   const char *param, const char *property, void *value);
VEXAHVRESULT VEXAHV_GetChParam(int32_t handle, uint16_t slot, const char *param, uint16_t count,
                               const uint16_t *channels, void *values);
VEXAHVRESULT VEXAHV_SetChParam(int32_t handle, uint16_t slot, const char *param, uint16_t count,
                               const uint16_t *channels, const void *value);

/* --- Change events ----------------------------------------------------------- */

/* names holds count names joined by ":"; results is the caller's array of one
 * byte per name, 0 where the (un)subscription was accepted. port is the TCP
 * port on which the caller listens for the mainframe's event connection: its
 * 16 bits are taken as unsigned, so a port above 32767 is passed as a negative
 * number. */
VEXAHVRESULT VEXAHV_SubscribeSystemParams(int32_t handle, int16_t port, const char *names,
                                          uint32_t count, char *results);
VEXAHVRESULT VEXAHV_UnSubscribeSystemParams(int32_t handle, int16_t port, const char *names,
                                            uint32_t count, char *results);
VEXAHVRESULT VEXAHV_SubscribeBoardParams(int32_t handle, int16_t port, uint16_t slot,
                                         const char *names, uint32_t count, char *results);
VEXAHVRESULT VEXAHV_UnSubscribeBoardParams(int32_t handle, int16_t port, uint16_t slot,
                                           const char *names, uint32_t count, char *results);
VEXAHVRESULT VEXAHV_SubscribeChannelParams(int32_t handle, int16_t port, uint16_t slot,
                                           uint16_t channel, const char *names, uint32_t count,
                                           char *results);
VEXAHVRESULT VEXAHV_UnSubscribeChannelParams(int32_t handle, int16_t port, uint16_t slot,
                                             uint16_t channel, const char *names, uint32_t count,
                                             char *results);

/* Waits on a socket accepted from the mainframe until a whole batch has
 * arrived and hands it back as an array of *count records. Fails once the peer
 * has closed or the stream cannot be understood. The socket stays the
 * caller's and is never closed here. */
VEXAHVRESULT VEXAHV_GetEventData(int32_t socket, VEXAHVSystemStatus_t *status,
                                 VEXAHVEventData_t **events, uint32_t *count);

/* Releases the array and sets *events to null. */
VEXAHVRESULT VEXAHV_FreeEventData(VEXAHVEventData_t **events);

/* Releases a list of this library; a null pointer is accepted. */
VEXAHVRESULT VEXAHV_Free(void *buffer);

#ifdef __cplusplus
}
#endif

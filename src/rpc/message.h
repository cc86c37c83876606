// TIMsg: the one message of the system (24-byte little-endian header + up to 2048
// bytes of tagged values), the value tags and the result codes.
#pragma once
#include <cstdint>

enum TResult : int {
    OK_RESULT = 0,
    EXISTS_RESULT = 1,                 // New: an object with that ID exists
    NOT_FOUND_RESULT = 2,              // look-up found nothing; also "no event of that kind"
    CANNOT_DELETE_RESULT = 3,
    NO_SESSION_RESULT = 8,             // API level: no session
    SERVER_BUSY_RESULT = 54,
    SERVER_TOO_OLD_RESULT = 56,
    SOCKETS_INUSE_RESULT = 60,
    BAD_KIND_RESULT = -1,
    BAD_VERSION_RESULT = -2,
    BAD_INTERFACE_RESULT = -3,
    BAD_FUNCTION_RESULT = -4,
    BAD_SOURCE_RESULT = -5,
    BAD_DESTINATION_RESULT = -6,
    NO_OBJECT_RESULT = -7,
    BAD_SEQUENCE_RESULT = -8,
    PACK_OVERFLOW_RESULT = -9,
    UNPACK_OVERRUN_RESULT = -10,
    TYPE_MISMATCH_RESULT = -11,
    RESERVED_12_RESULT = -12,
    TIMEOUT_RESULT = -13,
    CONNECTION_BROKEN = -14,
    SHORT_READ_RESULT = -15,
    NO_MESSAGE_RESULT = -16,
    SHORT_WRITE_RESULT = -17,
    NOT_SYNCHRONOUS_RESULT = -18,
    NOT_OPEN_RESULT = -19,
    WRONG_CLIENT_TYPE_RESULT = -22,    // API level: the client type lacks the interface
    INTERNAL_SERVER_ERROR = -23,
    RESERVED_24_RESULT = -24,          // a DISCONNECT was read while serving
};

// The codes of a lost or unusable connection (the session reports them as -14).
inline bool IsConnectionResult(long r)
{
    return r == RESERVED_24_RESULT || r == NOT_OPEN_RESULT || r == SHORT_WRITE_RESULT || r == SHORT_READ_RESULT ||
           r == CONNECTION_BROKEN || r == TIMEOUT_RESULT;
}

// Value tags of the data area.
enum TTag : uint8_t {
    TAG_CHAR = 0, TAG_PCHAR = 1,
    TAG_BOOL = 2, TAG_PBOOL = 3,
    TAG_SHORT = 4, TAG_PSHORT = 5,
    TAG_LONG = 6, TAG_PLONG = 7,
    TAG_DOUBLE = 8, TAG_PDOUBLE = 9,
    TAG_CUR = 10, TAG_PCUR = 11,
    TAG_DATE = 12, TAG_PDATE = 13,
    TAG_STR = 14, TAG_PSTR = 15,
    TAG_BLOCK = 16, TAG_RESERVED = 17,
    TAG_NULL = 18, TAG_END = 19,
    TAG_LONGLONG = 20, TAG_PLONGLONG = 21,
};

constexpr int kMsgHeaderSize = 24;
constexpr int kMsgDataSize = 2048;

#pragma pack(push, 1)
struct TIMsgHeader {
    uint8_t kind;          // always 1
    uint8_t version;       // interface version
    uint8_t flag;          // one-way flag, or the management code of function 1
    uint8_t function;
    uint32_t source;
    uint32_t destination;
    uint16_t sequence;
    uint16_t type;         // interface type
    uint32_t object;       // 0xFFFFFFFF: the interface as a whole
    int16_t result;
    uint16_t length;       // data bytes that follow
};
struct TIMsg {
    TIMsgHeader h;
    uint8_t data[kMsgDataSize];
    int WireSize() const { return kMsgHeaderSize + h.length; }
};
#pragma pack(pop)
static_assert(sizeof(TIMsgHeader) == kMsgHeaderSize);
static_assert(sizeof(TIMsg) == kMsgHeaderSize + kMsgDataSize);

// A request refused with code becomes its answer: the reply's ends are the request's
// swapped, the code is its result and nothing follows the header.
inline void AnswerRefused(TIMsg* m, TIMsgHeader request, int code)
{
    m->h.source = request.destination;
    m->h.destination = request.source;
    m->h.result = static_cast<int16_t>(code);
    m->h.length = 0;
}

// Management codes carried in byte 2 of a function-1 message.
enum TManagementFtn : uint8_t {
    MFTN_INVALID = 0, MFTN_CONNECT = 1, MFTN_DISCONNECT = 2, MFTN_PING = 3,
    MFTN_PONG = 4, MFTN_EVENTS = 5, MFTN_SHUTDOWN = 6, MFTN_CLOSE = 7,
};
extern const char* const ManagementFtnNames[8];

enum TPort { CALL_PORT = 1, EVENTS_PORT = 2 };

// Interface types of the header.
enum TInterfaceType : uint16_t {
    IF_DB = 1, IF_EVENTS = 2, IF_CLIENT = 3, IF_PUMP = 4, IF_HOSE = 5, IF_GRADE = 6,
    IF_TANK = 7, IF_PORT = 8, IF_DELIVERY = 9, IF_ATTENDANT = 10, IF_ZIGBEE = 16,
    IF_CARDCLIENT = 19, IF_CARDREAD = 20, IF_LOGEVENT = 22, IF_SENSOR = 23,
    IF_PRODUCT = 25, IF_SALEITEM = 26,
};

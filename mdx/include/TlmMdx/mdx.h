/*
 * Record tables: values, records, tables with ordered keys, packing, script values.
 *
 * A plain C interface; every type below may be used from C and from C++.
 *
 * Conventions of the whole interface
 *   - Texts are 8-bit, in the code page of their owner; the library never converts them.
 *   - Unless a function says otherwise it returns 0 or a positive number on success and one of the
 *     negative MDX_E_* codes on failure. A null handle is an error (MDX_E_ARG), never a crash.
 *   - Threads: different arrays may be used by different threads at once. One array may be read by
 *     many threads as long as none of them changes it.
 *   - Memory: what a function returns as a pointer into a record lives until the record changes or
 *     goes. The library frees only what it made.
 *   - Field and key numbers count from 0. A table has at most 255 fields.
 */
#ifndef TLMMDX_MDX_H
#define TLMMDX_MDX_H

#include <stddef.h>
#include <stdint.h>

#if defined(__cplusplus)
extern "C" {
#endif

#define MDX_API __attribute__((visibility("default")))

/* ---- codes ---------------------------------------------------------------------------------- */

enum {
  MDX_OK = 0,
  MDX_E_ARG = -1,     /* a null or unusable argument */
  MDX_E_MEMORY = -2,  /* no memory, or more asked for than the input justifies */
  MDX_E_SOURCE = -3,  /* there is no source array */
  MDX_E_FORMAT = -4,  /* packed bytes that are not a packed array, record or value */
  MDX_E_FOREIGN = -5, /* the record belongs to another array */
  MDX_E_FIELD = -6,   /* no such field */
  MDX_E_KEY = -7,     /* no such key, or an expression that names an unknown field */
  MDX_E_TYPE = -8,    /* the value cannot be converted to the field's type */
  MDX_E_SIZE = -9,    /* a text longer than its fixed field (nothing is written) */
  MDX_E_STATE = -10,  /* the record is not in the state that the call needs */
  MDX_E_VERSION = -11 /* packed bytes of a newer format */
};

/* ---- values --------------------------------------------------------------------------------- */

/* Value and field types. 9 and 10 are both text; 9 has a fixed size, 10 is long text or a block. */
enum {
  MDX_NONE = 0,
  MDX_BOOL = 1,
  MDX_INT32 = 5,
  MDX_INT64 = 6,
  MDX_FLOAT = 7,
  MDX_DOUBLE = 8,
  MDX_TEXT = 9,
  MDX_MEMO = 10
};

/*
 * One value, 14 bytes, packed.
 *   type MDX_NONE    the field does not exist; nothing else is meaningful
 *   isNull != 0      a null of that type
 *   MDX_BOOL         `flag`, the first byte of the value
 *   MDX_INT32        `i32`
 *   MDX_INT64        `i64`, which starts at offset 2
 *   MDX_FLOAT        `f32`
 *   MDX_DOUBLE       `f64`, which starts at offset 2
 *   MDX_TEXT, _MEMO  `text.length` bytes at `text.data`, owned by the record or by the caller
 * The members are not aligned: copy them, bind no C++ reference to one.
 */
#pragma pack(push, 1)
typedef struct MDRText {
  uint32_t length;
  const char* data;
} MDRText;

typedef struct MDRVar {
  uint8_t type;
  uint8_t isNull;
  union {
    uint8_t flag;
    int32_t i32;
    int64_t i64;
    float f32;
    double f64;
    MDRText text;
  };
} MDRVar;
#pragma pack(pop)

/* ---- descriptions --------------------------------------------------------------------------- */

/*
 * Description of one field of a table, 204 bytes; begins with the zero-terminated name. A handle of a
 * field is a pointer to its description. It lives as long as the array's structure is not changed.
 */
typedef struct MDRField {
  char name[64];
  uint8_t type;    /* MDX_* */
  uint8_t number;  /* position among the fields */
  uint16_t size;   /* bytes of a fixed text (MDX_TEXT), else 0 */
  uint32_t offset; /* of the value inside a record's body; private to the library */
  char reserved[132];
} MDRField;

/* What MDAFldAdd takes, 80 bytes. */
typedef struct MDRFldDesc {
  char name[64];
  uint8_t size; /* 32 for a key text, 0 where the type has no size */
  uint8_t type; /* MDX_* */
  char reserved[14];
} MDRFldDesc;

/* Bits of a key's flags word. */
enum { MDX_KEY_NOCASE = 8 /* the order of its texts ignores case (ASCII and Windows-1251 letters) */ };

/* What MDAKeyAdd takes, 392 bytes: field names joined by ";", flags, kind (always 0). */
typedef struct MDRKeyDesc {
  char expression[384]; /* need not be zero-terminated when full */
  uint32_t flags;
  uint32_t kind;
} MDRKeyDesc;

typedef struct MDArray MDArray; /* a table: fields, records, keys */
typedef struct MDRType MDRType; /* a record type: field count and fields, see MDRTypInit */

/* Kinds of change of a record, set by MDRSetFlags. */
enum { MDX_REC_NONE = 0, MDX_REC_INSERT = 1, MDX_REC_UPDATE = 2, MDX_REC_DELETE = 4 };

/*
 * One record. Opaque but for its size: a record of an array is made by MDARecNew and lives in it; only
 * a record that is bound to foreign bytes (MDRRecInit, MDRRecSet) is a variable of the caller.
 */
typedef struct MDRData {
  MDArray* array;        /* the owning array, or null for a bound record */
  unsigned char* packed; /* after MDRRecPack, or what MDRRecSet bound; else null */
  uint32_t packedLength;
  uint16_t typeNumber; /* 0, or 10 for an event message */
  uint8_t change;      /* MDX_REC_* */
  uint8_t state;       /* private */
  unsigned char* body; /* private */
} MDRData;

/* A reply or an event: a record of a small table of its own. */
typedef MDRData MDXCliParam;

/* ---- tables --------------------------------------------------------------------------------- */

/* Makes an empty table without fields and keys in *out. The second argument is 0. */
MDX_API int MDACreate(MDArray** out, int options);

/* Frees a table with its records; null is allowed. */
MDX_API void MDADestroy(MDArray* array);

/*
 * Makes destination a copy of source; what destination held is gone.
 *   mode 0  structure: fields and keys, no records
 *   mode 1  structure and rows (in the order of key 0); changed marks and change kinds are cleared
 *   mode 3  structure and rows, with their changed marks and change kinds
 * A null source gives MDX_E_SOURCE and leaves destination as it was.
 */
MDX_API int MDACopy(MDArray* destination, const MDArray* source, int mode);

/* Removes all records, those never posted too; fields and keys stay. */
MDX_API int MDAClearAll(MDArray* array);

/*
 * Adds a field at the end; `count` is 1. Rows that exist hold null there. Returns the field's number. An
 * unknown type is MDX_E_TYPE, no name or a fixed text without a size MDX_E_ARG, a 256th field MDX_E_SIZE.
 */
MDX_API int MDAFldAdd(MDArray* array, int count, const MDRFldDesc* description);

/*
 * Adds a key at the end and brings the records there into its order; `count` is 1. Returns its number.
 * A table that holds data always has at least one key: the first record posted to a table without
 * keys makes a default key, the order of arrival. A key has at most 16 fields (MDX_E_KEY), a table at most
 * 64 keys (MDX_E_SIZE).
 */
MDX_API int MDAKeyAdd(MDArray* array, int count, const MDRKeyDesc* description);

/*
 * Removes the key at a position; those behind it move up. A table with records whose last key goes is
 * left with the default key.
 */
MDX_API int MDAKeyDel(MDArray* array, int position);

/* Rebuilds a key's order, honouring its flags word. */
MDX_API int MDARecSort(MDArray* array, int key);

/* Number of records; 0 for null. */
MDX_API int MDARecCount(const MDArray* array);

/* The record at a position of a key's order, or null. A table without keys: the order of arrival. */
MDX_API MDRData* MDARec(const MDArray* array, int key, int position);

/*
 * The first record with that value in that key, or null. `values` holds one MDRVar for each field of
 * the key, one after another; a value with type MDX_NONE or with isNull set seeks null. The number
 * types stand for one another; a number is below all texts of a text key, a text above all numbers. *position (may be
 * null) is where the record stands, or where a record with that value would be put first: the number of records that
 * are lower. Order: null before every value, texts by bytes, equal keys in order of arrival.
 */
MDX_API MDRData* MDARecSeekV(const MDArray* array, int key, const MDRVar* values, int* position);

/* A new record of the table, all fields null, not posted. Freed with the table if never posted. */
MDX_API MDRData* MDARecNew(MDArray* array);

/*
 * Posts a new record, or ends the edit of a posted one: it stands in all keys then. The record keeps
 * its address; *posted (may be null) receives it.
 */
MDX_API int MDARecPost(MDRData* record, MDRData** posted);

/*
 * Opens a posted record for change and returns it; null for null. Changes to fields of a key without
 * MDARecEdit are allowed as well: the keys are correct after each MDRSetVal.
 */
MDX_API MDRData* MDARecEdit(MDRData* record);

/* Removes a record (posted or not) and frees it. */
MDX_API int MDARecDel(MDRData* record);

/* What may be read of a table directly. */
MDX_API int MDAFldCount(const MDArray* array);
MDX_API const char* MDAFldName(const MDArray* array, int number); /* null past the end */
MDX_API int MDAKeyCount(const MDArray* array);
MDX_API int MDAKeyRecCount(const MDArray* array, int key);
MDX_API const char* MDAKeyExpr(const MDArray* array, int key); /* null past the end */
MDX_API uint32_t* MDAKeyFlags(MDArray* array, int key);        /* the flags word, or null */

/* Bytes of memory that the table holds, for benches and limits. */
MDX_API size_t MDAMemory(const MDArray* array);

/*
 * A place in the order of one key. It serves loops: a step to the next record mostly costs an addition, and
 * a number or a key text can be read out of the key itself. A variable of the caller; everything in it is
 * private, TlmMdx/cursor.h reads it. A change of the table makes it void: seek or place it again.
 */
typedef struct MDXCursor {
  const MDArray* array;
  MDRData* const* records; /* of the run at hand; null past the end */
  const uint64_t* words;   /* their keys, or null */
  int32_t index, count;    /* the place in the run, and its length */
  int32_t position;        /* the place in the order */
  int32_t key;
  uint8_t form; /* MDX_CURSOR_* */
  uint8_t reserved[7];
} MDXCursor;

enum {                        /* what `words` holds for the records of a run */
       MDX_CURSOR_OTHER = 0,  /* nothing to be read */
       MDX_CURSOR_NULL = 1,   /* the key's only field is null in them */
       MDX_CURSOR_INT = 2,    /* a boolean or an integer */
       MDX_CURSOR_DOUBLE = 3, /* a float or a double */
       MDX_CURSOR_TEXT = 4    /* a fixed text of at most 32 bytes whose order is by bytes */
};
enum { MDX_CURSOR_STRIDE = 64 }; /* the most records of a run; cursor.h says what follows */

/* Stands at the first record with that value: 1; or where it would stand: 0. See MDARecSeekV. */
MDX_API int MDXCurSeek(MDXCursor* cursor, const MDArray* array, int key, const MDRVar* values);
/* Stands at a position: 1; past the end: 0. */
MDX_API int MDXCurAt(MDXCursor* cursor, const MDArray* array, int key, int position);
/* Goes to the first record behind the run at hand: 1; past the end: 0. */
MDX_API int MDXCurNextRun(MDXCursor* cursor);

/* ---- fields of a record --------------------------------------------------------------------- */

/* A field by name (case ignored) or by number; null when there is none. */
MDX_API const MDRField* MDRFldByName(const MDArray* array, const char* name);
MDX_API const MDRField* MDRFldByNum(const MDArray* array, int number);

/* Reads a value; texts stay in the record. With a null field or record: type MDX_NONE, MDX_E_FIELD. */
MDX_API int MDRGetVal(const MDRField* field, const MDRData* record, MDRVar* out);

/*
 * Writes a value, copying texts. Integers, booleans and floating numbers are converted into one
 * another where the value fits (a fraction does not fit an integer, any number but 0 is a true boolean),
 * else MDX_E_TYPE; so is a text for a number and the reverse. MDX_TEXT takes at most its size (MDX_E_SIZE).
 * A value with type MDX_NONE or with isNull set writes null. `field` must be one of the record's own table,
 * else MDX_E_FIELD; a bound record is read only, MDX_E_STATE.
 */
MDX_API int MDRSetVal(const MDRField* field, MDRData* record, const MDRVar* value);

/* Zero-terminated text of a text field in *out; null there when the value is null or no text. */
MDX_API int MDRGetTextPtr(const MDRField* field, const MDRData* record, char** out);

/* Length and bytes of a text or block; 0 and null when the value is null. */
MDX_API int MDRGetTextRef(const MDRField* field, const MDRData* record, int* length, void** data);

/*
 * The value converted, a fraction cut off; a text is parsed as decimal. Null, no number or out of range: a
 * negative code, *out = 0.
 */
MDX_API int MDRGetAsInt32(const MDRField* field, const MDRData* record, int32_t* out);
MDX_API int MDRGetAsDouble(const MDRField* field, const MDRData* record, double* out);

/* 1 if null, 0 if not, negative on error. *flag (may be null) is set to the same on success. */
MDX_API int MDRIsNull(const MDRField* field, const MDRData* record, int* flag);

/*
 * The changed ("user") mark: 1 or 0, negative on error. *flag (may be null) is set on success and left
 * alone when the record's type keeps no marks.
 */
MDX_API int MDRIsUser(const MDRField* field, const MDRData* record, int* flag);
MDX_API int MDRSetUser(const MDRField* field, MDRData* record, int on);

/* The record's kind of change, MDX_REC_*. */
MDX_API int MDRSetFlags(MDRData* record, int flags);
MDX_API int MDRGetFlags(const MDRData* record);

/* The array that owns the record, or null. */
MDX_API MDArray* MDROwner(const MDRData* record);

/* ---- texts ---------------------------------------------------------------------------------- */

/*
 * 256 bytes: for each byte its lower case, of ASCII and Windows-1251 letters. What MDX_KEY_NOCASE and names
 * of fields are compared by.
 */
MDX_API const unsigned char* MDXLowerTable(void);

/* ---- packing -------------------------------------------------------------------------------- */
/*
 * Packed bytes are little-endian and versioned, carry no pointer and no padding. Readers check every
 * length before use, never crash on foreign bytes, and never allocate more than the input justifies.
 */

/* Serialises one record with its type into its own buffer: record->packed, record->packedLength. */
MDX_API int MDRRecPack(const MDArray* array, MDRData* record, int withType, int withMarks);

/*
 * Serialises a table: fields, keys, rows in the order of key 0 (which is their order of arrival in a table
 * rebuilt from it), changed marks and change kinds. *out is freed by MDXFree.
 */
MDX_API int MDXArrayPack(const MDArray* array, void** out, uint32_t* length);
MDX_API void MDXFree(void* bytes);

/*
 * Rebuilds a table, structure and rows, from a payload that MDXArrayPack made; what it held is gone.
 * mode 0: the keys of the payload are made too. mode 1: the same. Payloads know their length, so none
 * is given; MDXArrayUnPackN checks against the length that the caller knows, and is the one to use for
 * bytes from outside. Non-zero: failure, and the table is empty.
 */
MDX_API int MDXArrayUnPack(MDArray* array, const void* payload, int mode);
MDX_API int MDXArrayUnPackN(MDArray* array, const void* payload, size_t length, int mode);

/*
 * Rebuilds a table of one posted record from an image that MDRRecPack made: the fields with their names
 * (without a type in the image: "f0", "f1", ...), the values, changed marks and the change kind. Non-zero:
 * failure, and the table is empty.
 */
MDX_API int MDXRecUnPackN(MDArray* array, const void* image, size_t length);

/* ---- records bound to an image -------------------------------------------------------------- */

/*
 * The type of a record that arrived as bytes. `fieldCount` and `fields` drive loops over it. A variable
 * of the caller: MDRTypInit starts it, MDRTypFree ends it (also twice, also after a failure).
 */
struct MDRType {
  int fieldCount;
  MDRField* fields;
  char name[64];
  void* storage; /* private */
};

MDX_API void MDRTypInit(MDRType* type);
MDX_API void MDRRecInit(MDRData* record);
/* Binds bytes that MDRRecPack made; they must outlive the record. */
MDX_API int MDRRecSet(MDRData* record, const void* image, uint32_t length);
/* Reads the bound bytes: makes the fields in `type` and the values, null and changed marks of `record`,
 * which from then on is read with the fields of `type`. On failure there are no fields. */
MDX_API int MDRTypGen(MDRType* type, const char* name, MDRData* record);
MDX_API void MDRTypFree(MDRType* type);
MDX_API const MDRField* MDRTypFldByNum(const MDRType* type, int number);
MDX_API const MDRField* MDRTypFldByName(const MDRType* type, const char* name);

/* ---- script values -------------------------------------------------------------------------- */

enum { CVAR_NULL = 0, CVAR_INT = 1, CVAR_DOUBLE = 2, CVAR_TEXT = 3, CVAR_ARRAY = 4, CVAR_TABLE = 9 };

/* A tagged value, 24 bytes. */
typedef struct CVar {
  int32_t type;    /* CVAR_* */
  uint32_t length; /* bytes of a text, elements of an array */
  union {
    int64_t i64;
    double f64;
    char* text;         /* zero-terminated, owned */
    struct CVar* items; /* the elements of an array one after another, owned */
    MDArray** table;    /* a cell that holds the table, both owned */
  };
  uint64_t reserved;
} CVar;

MDX_API void CVarInit(CVar* var, int n);
MDX_API void CVarClear(CVar* var, int n);
MDX_API int CVarSetArr(CVar* var, int n);
MDX_API int CVarSetInt(CVar* var, int64_t value);
MDX_API int CVarSetDouble(CVar* var, double value);
MDX_API int CVarSetStr(CVar* var, const char* text, int length);
/* Takes ownership of the table. */
MDX_API int CVarSetTable(CVar* var, MDArray* table);
/* Serialises a value; *out is freed by MDXFree. */
MDX_API int CVarToBuff(const CVar* var, void** out, uint32_t* length);
/* Rebuilds a value from such bytes; the N form checks against the length known to the caller. */
MDX_API int CVarFromBuff(CVar* var, const void* buffer);
MDX_API int CVarFromBuffN(CVar* var, const void* buffer, size_t length);

/* ---- replies and events --------------------------------------------------------------------- */

enum {
  MDX_REPLY_STATUS = 0,  /* int32, 0 is success */
  MDX_REPLY_PAYLOAD = 1, /* text or block; with another status a text for the debug stream */
  MDX_REPLY_TEXT = 2     /* the text that some requests answer with */
};
enum { MDX_TYPE_EVENT = 10, MDX_TYPE_PARAM = 11 };
enum {                         /* positions of an event message (type number MDX_TYPE_EVENT) */
       MDX_EVENT_SEQUENCE = 0, /* int64 */
       MDX_EVENT_KIND = 1,     /* int32: 601, 602, 603, 902, 903, 904 */
       MDX_EVENT_TIME = 2,     /* double, server time */
       MDX_EVENT_ORIGIN = 3,   /* int32, reserved for the writer's session */
       MDX_EVENT_KEY = 4,      /* text */
       MDX_EVENT_PARAM = 5,    /* text */
       MDX_EVENT_USER = 6,     /* text, who wrote */
       MDX_EVENT_IMAGE = 7     /* block, or null */
};

/*
 * A record that owns its small table, with fields of the given types ("f0", "f1", ...). Freed as a
 * whole by MDXParamFree. Its fields are reached by MDXParamFld(param, position).
 */
MDX_API MDXCliParam* MDXParamNew(int typeNumber, const uint8_t* types, int count);
MDX_API void MDXParamFree(MDXCliParam* param);
MDX_API const MDRField* MDXParamFld(const MDXCliParam* param, int position);

#if defined(__cplusplus)
} /* extern "C" */

static_assert(sizeof(MDRVar) == 14, "a value is 14 bytes");
static_assert(sizeof(CVar) == 24, "a script value is 24 bytes");
static_assert(sizeof(MDRField) == 204, "a field of an array is described in 204 bytes");
static_assert(sizeof(MDRFldDesc) == 80, "a new field is described in 80 bytes");
static_assert(sizeof(MDRKeyDesc) == 392, "a new key is described in 392 bytes");
#endif

#endif

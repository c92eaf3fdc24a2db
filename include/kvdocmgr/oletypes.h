// The automation and structured-storage types that the interfaces of this library are made of.
// On Windows they are the platform's own. Elsewhere they are declared here with the same names, layouts, slot orders and
// statuses, and the functions come from the library kvole, so that a client can free what it is given and hand in objects
// of its own. Wide text is UTF-16 in units of char16_t.
#pragma once

#if defined(_WIN32)

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <ole2.h>
#include <oleauto.h>

#else

#include <cstddef>
#include <cstdint>

#if defined(KVOLE_BUILDING)
#define KVOLE_API __attribute__((visibility("default")))
#else
#define KVOLE_API
#endif
#define STDMETHODCALLTYPE

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using USHORT = std::uint16_t;
using SHORT = std::int16_t;
using DWORD = std::uint32_t;
using ULONG = std::uint32_t;
using LONG = std::int32_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using BOOL = std::int32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using HRESULT = std::int32_t;
using SCODE = std::int32_t;
using LCID = std::uint32_t;
using DATE = double; // days since 30 December 1899, the time of day in the fraction
using VARTYPE = std::uint16_t;
using VARIANT_BOOL = std::int16_t;
using OLECHAR = char16_t;
using LPOLESTR = OLECHAR*;
using LPCOLESTR = const OLECHAR*;
using BSTR = OLECHAR*; // length in bytes stands in the 32 bits before the text; null is the empty string
using SNB = OLECHAR**; // names of elements, closed by a null pointer

constexpr VARIANT_BOOL VARIANT_TRUE = -1;
constexpr VARIANT_BOOL VARIANT_FALSE = 0;

struct GUID
{
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    friend constexpr bool operator==(const GUID&, const GUID&) = default;
};
using IID = GUID;
using CLSID = GUID;
using FMTID = GUID;
using REFIID = const IID&;
using REFCLSID = const CLSID&;
using REFGUID = const GUID&;

union LARGE_INTEGER
{
    struct
    {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};
union ULARGE_INTEGER
{
    struct
    {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    ULONGLONG QuadPart;
};
struct FILETIME
{
    DWORD dwLowDateTime; // 100 ns since 1 January 1601, UTC
    DWORD dwHighDateTime;
};
struct SYSTEMTIME
{
    WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};
union CY
{
    LONGLONG int64;
};
struct DECIMAL
{
    USHORT wReserved;
    BYTE scale;
    BYTE sign;
    ULONG Hi32;
    ULONGLONG Lo64;
};

// ---- statuses -------------------------------------------------------------------------------------------------------

constexpr HRESULT kvHresult(std::uint32_t value) noexcept
{
    return static_cast<HRESULT>(value);
}
constexpr bool SUCCEEDED(HRESULT status) noexcept
{
    return status >= 0;
}
constexpr bool FAILED(HRESULT status) noexcept
{
    return status < 0;
}

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_NOTIMPL = kvHresult(0x80004001);
constexpr HRESULT E_NOINTERFACE = kvHresult(0x80004002);
constexpr HRESULT E_POINTER = kvHresult(0x80004003);
constexpr HRESULT E_ABORT = kvHresult(0x80004004);
constexpr HRESULT E_FAIL = kvHresult(0x80004005);
constexpr HRESULT E_UNEXPECTED = kvHresult(0x8000FFFF);
constexpr HRESULT E_ACCESSDENIED = kvHresult(0x80070005);
constexpr HRESULT E_HANDLE = kvHresult(0x80070006);
constexpr HRESULT E_OUTOFMEMORY = kvHresult(0x8007000E);
constexpr HRESULT E_INVALIDARG = kvHresult(0x80070057);
constexpr HRESULT RPC_E_DISCONNECTED = kvHresult(0x80010108);
constexpr HRESULT CLASS_E_NOAGGREGATION = kvHresult(0x80040110);
constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = kvHresult(0x80040111);
constexpr HRESULT DISP_E_UNKNOWNNAME = kvHresult(0x80020006);
constexpr HRESULT DISP_E_MEMBERNOTFOUND = kvHresult(0x80020003);
constexpr HRESULT DISP_E_TYPEMISMATCH = kvHresult(0x80020005);
constexpr HRESULT DISP_E_BADVARTYPE = kvHresult(0x80020008);
constexpr HRESULT DISP_E_OVERFLOW = kvHresult(0x8002000A);
constexpr HRESULT DISP_E_BADINDEX = kvHresult(0x8002000B);
constexpr HRESULT DISP_E_ARRAYISLOCKED = kvHresult(0x8002000D);

constexpr HRESULT STG_E_INVALIDFUNCTION = kvHresult(0x80030001);
constexpr HRESULT STG_E_FILENOTFOUND = kvHresult(0x80030002);
constexpr HRESULT STG_E_PATHNOTFOUND = kvHresult(0x80030003);
constexpr HRESULT STG_E_TOOMANYOPENFILES = kvHresult(0x80030004);
constexpr HRESULT STG_E_ACCESSDENIED = kvHresult(0x80030005);
constexpr HRESULT STG_E_INVALIDHANDLE = kvHresult(0x80030006);
constexpr HRESULT STG_E_INSUFFICIENTMEMORY = kvHresult(0x80030008);
constexpr HRESULT STG_E_INVALIDPOINTER = kvHresult(0x80030009);
constexpr HRESULT STG_E_NOMOREFILES = kvHresult(0x80030012);
constexpr HRESULT STG_E_SEEKERROR = kvHresult(0x80030019);
constexpr HRESULT STG_E_WRITEFAULT = kvHresult(0x8003001D);
constexpr HRESULT STG_E_READFAULT = kvHresult(0x8003001E);
constexpr HRESULT STG_E_SHAREVIOLATION = kvHresult(0x80030020);
constexpr HRESULT STG_E_LOCKVIOLATION = kvHresult(0x80030021);
constexpr HRESULT STG_E_FILEALREADYEXISTS = kvHresult(0x80030050);
constexpr HRESULT STG_E_INVALIDPARAMETER = kvHresult(0x80030057);
constexpr HRESULT STG_E_MEDIUMFULL = kvHresult(0x80030070);
constexpr HRESULT STG_E_ABNORMALAPIEXIT = kvHresult(0x800300FA);
constexpr HRESULT STG_E_INVALIDHEADER = kvHresult(0x800300FB);
constexpr HRESULT STG_E_INVALIDNAME = kvHresult(0x800300FC);
constexpr HRESULT STG_E_UNKNOWN = kvHresult(0x800300FD);
constexpr HRESULT STG_E_UNIMPLEMENTEDFUNCTION = kvHresult(0x800300FE);
constexpr HRESULT STG_E_INVALIDFLAG = kvHresult(0x800300FF);
constexpr HRESULT STG_E_INUSE = kvHresult(0x80030100);
constexpr HRESULT STG_E_NOTCURRENT = kvHresult(0x80030101);
constexpr HRESULT STG_E_REVERTED = kvHresult(0x80030102);
constexpr HRESULT STG_E_CANTSAVE = kvHresult(0x80030103);
constexpr HRESULT STG_E_OLDFORMAT = kvHresult(0x80030104);
constexpr HRESULT STG_E_DOCFILECORRUPT = kvHresult(0x80030109);
constexpr HRESULT STG_E_DOCFILETOOLARGE = kvHresult(0x80030111);

// ---- IUnknown and kin -----------------------------------------------------------------------------------------------

inline constexpr IID IID_IUnknown{0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IClassFactory{0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_ILockBytes{0x0000000A, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IStorage{0x0000000B, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IStream{0x0000000C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IEnumSTATSTG{0x0000000D, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_ISequentialStream{0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
inline constexpr IID IID_IDispatch{0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_ISupportErrorInfo{0xDF0B3D60, 0x548F, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr GUID GUID_NULL{};
inline constexpr CLSID CLSID_NULL{};

struct IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};

struct IClassFactory : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** out) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) = 0;
};

struct ISupportErrorInfo : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID id) = 0;
};

struct ITypeInfo;
struct DISPPARAMS;
struct EXCEPINFO;
using DISPID = LONG;

struct IDispatch : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** out) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID id, LPOLESTR* names, UINT count, LCID locale, DISPID* out) = 0;
    virtual HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID id, LCID locale, WORD flags, DISPPARAMS* arguments, struct VARIANT* result,
                                             EXCEPINFO* exception, UINT* badArgument) = 0;
};

// ---- VARIANT and SAFEARRAY ------------------------------------------------------------------------------------------

enum VARENUM : unsigned
{
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_CY = 6,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_DECIMAL = 14,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_LPSTR = 30,
    VT_LPWSTR = 31,
    VT_FILETIME = 64,
    VT_BLOB = 65,
    VT_CLSID = 72,
    VT_VECTOR = 0x1000,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
    VT_TYPEMASK = 0xFFF
};

struct SAFEARRAYBOUND
{
    ULONG cElements;
    LONG lLbound;
};

constexpr USHORT FADF_HAVEVARTYPE = 0x0080;
constexpr USHORT FADF_BSTR = 0x0100;
constexpr USHORT FADF_UNKNOWN = 0x0200;
constexpr USHORT FADF_DISPATCH = 0x0400;
constexpr USHORT FADF_VARIANT = 0x0800;

struct SAFEARRAY
{
    USHORT cDims;
    USHORT fFeatures;
    ULONG cbElements;
    ULONG cLocks;
    void* pvData;
    SAFEARRAYBOUND rgsabound[1]; // one a dimension, the last dimension first
};

struct VARIANT
{
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union
    {
        LONGLONG llVal;
        LONG lVal;
        BYTE bVal;
        SHORT iVal;
        float fltVal;
        double dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        CY cyVal;
        DATE date;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        SAFEARRAY* parray;
        LONG* plVal;
        SHORT* piVal;
        double* pdblVal;
        VARIANT_BOOL* pboolVal;
        BSTR* pbstrVal;
        IUnknown** ppunkVal;
        SAFEARRAY** pparray;
        VARIANT* pvarVal;
        void* byref;
        char cVal;
        USHORT uiVal;
        ULONG ulVal;
        ULONGLONG ullVal;
        INT intVal;
        UINT uintVal;
        struct
        {
            void* pvRecord;
            void* pRecInfo;
        } record; // never used here; it makes the size what it is on 64-bit systems
    };
};
using VARIANTARG = VARIANT;

// ---- structured storage ---------------------------------------------------------------------------------------------

constexpr DWORD STGM_DIRECT = 0x00000000;
constexpr DWORD STGM_TRANSACTED = 0x00010000;
constexpr DWORD STGM_SIMPLE = 0x08000000;
constexpr DWORD STGM_READ = 0x00000000;
constexpr DWORD STGM_WRITE = 0x00000001;
constexpr DWORD STGM_READWRITE = 0x00000002;
constexpr DWORD STGM_SHARE_DENY_NONE = 0x00000040;
constexpr DWORD STGM_SHARE_DENY_READ = 0x00000030;
constexpr DWORD STGM_SHARE_DENY_WRITE = 0x00000020;
constexpr DWORD STGM_SHARE_EXCLUSIVE = 0x00000010;
constexpr DWORD STGM_PRIORITY = 0x00040000;
constexpr DWORD STGM_DELETEONRELEASE = 0x04000000;
constexpr DWORD STGM_NOSCRATCH = 0x00100000;
constexpr DWORD STGM_CREATE = 0x00001000;
constexpr DWORD STGM_CONVERT = 0x00020000;
constexpr DWORD STGM_FAILIFTHERE = 0x00000000;
constexpr DWORD STGM_NOSNAPSHOT = 0x00200000;
constexpr DWORD STGM_DIRECT_SWMR = 0x00400000;

constexpr DWORD STGC_DEFAULT = 0;
constexpr DWORD STGC_OVERWRITE = 1;
constexpr DWORD STGC_ONLYIFCURRENT = 2;
constexpr DWORD STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE = 4;
constexpr DWORD STGC_CONSOLIDATE = 8;

constexpr DWORD STGTY_STORAGE = 1;
constexpr DWORD STGTY_STREAM = 2;
constexpr DWORD STGTY_LOCKBYTES = 3;
constexpr DWORD STGTY_PROPERTY = 4;

constexpr DWORD STREAM_SEEK_SET = 0;
constexpr DWORD STREAM_SEEK_CUR = 1;
constexpr DWORD STREAM_SEEK_END = 2;

constexpr DWORD LOCK_WRITE = 1;
constexpr DWORD LOCK_EXCLUSIVE = 2;
constexpr DWORD LOCK_ONLYONCE = 4;

constexpr DWORD STATFLAG_DEFAULT = 0;
constexpr DWORD STATFLAG_NONAME = 1;

constexpr DWORD STGMOVE_MOVE = 0;
constexpr DWORD STGMOVE_COPY = 1;

struct STATSTG
{
    LPOLESTR pwcsName; // freed by CoTaskMemFree
    DWORD type;
    ULARGE_INTEGER cbSize;
    FILETIME mtime;
    FILETIME ctime;
    FILETIME atime;
    DWORD grfMode;
    DWORD grfLocksSupported;
    CLSID clsid;
    DWORD grfStateBits;
    DWORD reserved;
};

struct ISequentialStream : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG count, ULONG* read) = 0;
    virtual HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG count, ULONG* written) = 0;
};

struct IStream : ISequentialStream
{
    virtual HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read, ULARGE_INTEGER* written) = 0;
    virtual HRESULT STDMETHODCALLTYPE Commit(DWORD flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
    virtual HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) = 0;
    virtual HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD flag) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IStream** out) = 0;
};

struct IEnumSTATSTG : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG count, STATSTG* elements, ULONG* fetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG count) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumSTATSTG** out) = 0;
};

struct IStorage : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE CreateStream(LPCOLESTR name, DWORD mode, DWORD reserved1, DWORD reserved2, IStream** out) = 0;
    virtual HRESULT STDMETHODCALLTYPE OpenStream(LPCOLESTR name, void* reserved1, DWORD mode, DWORD reserved2, IStream** out) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateStorage(LPCOLESTR name, DWORD mode, DWORD reserved1, DWORD reserved2, IStorage** out) = 0;
    virtual HRESULT STDMETHODCALLTYPE OpenStorage(LPCOLESTR name, IStorage* priority, DWORD mode, SNB exclude, DWORD reserved, IStorage** out) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyTo(DWORD excludedCount, const IID* excludedInterfaces, SNB excludedNames, IStorage* target) = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveElementTo(LPCOLESTR name, IStorage* target, LPCOLESTR newName, DWORD flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Commit(DWORD flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3, IEnumSTATSTG** out) = 0;
    virtual HRESULT STDMETHODCALLTYPE DestroyElement(LPCOLESTR name) = 0;
    virtual HRESULT STDMETHODCALLTYPE RenameElement(LPCOLESTR oldName, LPCOLESTR newName) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetElementTimes(LPCOLESTR name, const FILETIME* created, const FILETIME* accessed,
                                                      const FILETIME* modified) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetClass(REFCLSID id) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetStateBits(DWORD bits, DWORD mask) = 0;
    virtual HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD flag) = 0;
};

struct ILockBytes : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE ReadAt(ULARGE_INTEGER offset, void* buffer, ULONG count, ULONG* read) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteAt(ULARGE_INTEGER offset, const void* buffer, ULONG count, ULONG* written) = 0;
    virtual HRESULT STDMETHODCALLTYPE Flush() = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) = 0;
    virtual HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD flag) = 0;
};

// ---- layouts: what crosses the boundary has the sizes of the public 64-bit interface --------------------------------

static_assert(sizeof(void*) == 8, "the published layouts are those of 64-bit systems");
static_assert(sizeof(GUID) == 16 && alignof(GUID) == 4);
static_assert(sizeof(FILETIME) == 8 && alignof(FILETIME) == 4);
static_assert(sizeof(SYSTEMTIME) == 16 && sizeof(CY) == 8 && sizeof(DECIMAL) == 16);
static_assert(sizeof(VARIANT) == 24 && alignof(VARIANT) == 8 && offsetof(VARIANT, llVal) == 8);
static_assert(sizeof(SAFEARRAY) == 32 && offsetof(SAFEARRAY, pvData) == 16 && offsetof(SAFEARRAY, rgsabound) == 24);
static_assert(sizeof(STATSTG) == 80 && offsetof(STATSTG, cbSize) == 16 && offsetof(STATSTG, mtime) == 24 && offsetof(STATSTG, grfMode) == 48 &&
              offsetof(STATSTG, clsid) == 56 && offsetof(STATSTG, grfStateBits) == 72);

extern "C"
{
    // BSTR: the caller owns what is allocated here and frees it by SysFreeString. Null on exhausted memory.
    KVOLE_API BSTR SysAllocString(const OLECHAR* text) noexcept;
    KVOLE_API BSTR SysAllocStringLen(const OLECHAR* text, UINT units) noexcept;
    KVOLE_API BSTR SysAllocStringByteLen(const char* bytes, UINT count) noexcept;
    KVOLE_API INT SysReAllocString(BSTR* string, const OLECHAR* text) noexcept;
    KVOLE_API INT SysReAllocStringLen(BSTR* string, const OLECHAR* text, UINT units) noexcept;
    KVOLE_API void SysFreeString(BSTR string) noexcept;
    KVOLE_API UINT SysStringLen(BSTR string) noexcept;
    KVOLE_API UINT SysStringByteLen(BSTR string) noexcept;

    KVOLE_API void VariantInit(VARIANT* variant) noexcept;
    KVOLE_API HRESULT VariantClear(VARIANT* variant) noexcept;
    KVOLE_API HRESULT VariantCopy(VARIANT* target, const VARIANT* source) noexcept;
    KVOLE_API HRESULT VariantCopyInd(VARIANT* target, const VARIANT* source) noexcept;

    KVOLE_API SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds) noexcept;
    KVOLE_API SAFEARRAY* SafeArrayCreateVector(VARTYPE type, LONG lowerBound, ULONG count) noexcept;
    KVOLE_API HRESULT SafeArrayDestroy(SAFEARRAY* array) noexcept;
    KVOLE_API HRESULT SafeArrayCopy(SAFEARRAY* array, SAFEARRAY** out) noexcept;
    KVOLE_API UINT SafeArrayGetDim(SAFEARRAY* array) noexcept;
    KVOLE_API UINT SafeArrayGetElemsize(SAFEARRAY* array) noexcept;
    KVOLE_API HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dimension, LONG* bound) noexcept;
    KVOLE_API HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dimension, LONG* bound) noexcept;
    KVOLE_API HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type) noexcept;
    KVOLE_API HRESULT SafeArrayLock(SAFEARRAY* array) noexcept;
    KVOLE_API HRESULT SafeArrayUnlock(SAFEARRAY* array) noexcept;
    KVOLE_API HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) noexcept;
    KVOLE_API HRESULT SafeArrayUnaccessData(SAFEARRAY* array) noexcept;
    KVOLE_API HRESULT SafeArrayPtrOfIndex(SAFEARRAY* array, LONG* indices, void** element) noexcept;
    KVOLE_API HRESULT SafeArrayGetElement(SAFEARRAY* array, LONG* indices, void* element) noexcept;
    KVOLE_API HRESULT SafeArrayPutElement(SAFEARRAY* array, LONG* indices, void* element) noexcept;

    KVOLE_API INT SystemTimeToVariantTime(SYSTEMTIME* time, DATE* date) noexcept;
    KVOLE_API INT VariantTimeToSystemTime(DATE date, SYSTEMTIME* time) noexcept;
    KVOLE_API HRESULT VarBstrFromDate(DATE date, LCID locale, ULONG flags, BSTR* out) noexcept;
    KVOLE_API HRESULT VarDateFromStr(LPCOLESTR text, LCID locale, ULONG flags, DATE* out) noexcept;

    KVOLE_API void* CoTaskMemAlloc(std::size_t bytes) noexcept;
    KVOLE_API void* CoTaskMemRealloc(void* memory, std::size_t bytes) noexcept;
    KVOLE_API void CoTaskMemFree(void* memory) noexcept;
    KVOLE_API HRESULT CoInitialize(void* reserved) noexcept;
    KVOLE_API HRESULT CoInitializeEx(void* reserved, DWORD model) noexcept;
    KVOLE_API void CoUninitialize() noexcept;
    KVOLE_API HRESULT CoFileTimeNow(FILETIME* time) noexcept;

    // Structured storage over compound files ([MS-CFB]). Modes are STGM_..., statuses S_OK, S_FALSE and STG_E_....
    KVOLE_API HRESULT StgIsStorageFile(LPCOLESTR path) noexcept;
    KVOLE_API HRESULT StgIsStorageILockBytes(ILockBytes* bytes) noexcept;
    KVOLE_API HRESULT StgOpenStorage(LPCOLESTR path, IStorage* priority, DWORD mode, SNB exclude, DWORD reserved, IStorage** out) noexcept;
    KVOLE_API HRESULT StgOpenStorageOnILockBytes(ILockBytes* bytes, IStorage* priority, DWORD mode, SNB exclude, DWORD reserved,
                                                 IStorage** out) noexcept;
    KVOLE_API HRESULT StgCreateDocfile(LPCOLESTR path, DWORD mode, DWORD reserved, IStorage** out) noexcept;
    KVOLE_API HRESULT StgCreateDocfileOnILockBytes(ILockBytes* bytes, DWORD mode, DWORD reserved, IStorage** out) noexcept;
    KVOLE_API HRESULT ReadClassStg(IStorage* storage, CLSID* id) noexcept;
    KVOLE_API HRESULT WriteClassStg(IStorage* storage, REFCLSID id) noexcept;

    // Memory streams and byte arrays. A handle of the global heap is not taken: pass null.
    KVOLE_API HRESULT CreateStreamOnHGlobal(void* memory, BOOL deleteOnRelease, IStream** out) noexcept;
    KVOLE_API HRESULT CreateILockBytesOnHGlobal(void* memory, BOOL deleteOnRelease, ILockBytes** out) noexcept;
}

#endif

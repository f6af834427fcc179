#pragma once

#include "platform/automation/Types.h"

/// What type information is handed out in.
namespace Platform::Automation {

enum TYPEKIND : std::int32_t { TKIND_DISPATCH = 4, TKIND_COCLASS = 5 };
enum FUNCKIND : std::int32_t { FUNC_DISPATCH = 4 };
enum INVOKEKIND : std::int32_t { INVOKE_FUNC = 1 };
enum CALLCONV : std::int32_t { CC_STDCALL = 4 };
enum SYSKIND : std::int32_t { SYS_WIN32 = 1, SYS_WIN64 = 3 };

inline constexpr MEMBERID MEMBERID_NIL = -1;
inline constexpr std::int32_t IMPLTYPEFLAG_FDEFAULT = 1;
inline constexpr std::int32_t IMPLTYPEFLAG_FSOURCE = 2;
inline constexpr WORD TYPEFLAG_FCANCREATE = 0x0002;
inline constexpr WORD TYPEFLAG_FCONTROL = 0x0020;
inline constexpr WORD TYPEFLAG_FDISPATCHABLE = 0x1000;
inline constexpr USHORT PARAMFLAG_FIN = 1;
inline constexpr USHORT PARAMFLAG_FOUT = 2;

/// `lptdesc` belongs to VT_PTR and VT_SAFEARRAY.
struct TYPEDESC {
    union {
        const TYPEDESC* lptdesc;
        DWORD hreftype;
    };
    VARTYPE vt;
};

struct PARAMDESC {
    void* pparamdescex;
    USHORT wParamFlags;
};

struct ELEMDESC {
    TYPEDESC tdesc;
    PARAMDESC paramdesc;
};

struct IDLDESC {
    std::size_t dwReserved;
    USHORT wIDLFlags;
};

struct FUNCDESC {
    MEMBERID memid;
    SCODE* lprgscode;
    ELEMDESC* lprgelemdescParam;
    FUNCKIND funckind;
    INVOKEKIND invkind;
    CALLCONV callconv;
    SHORT cParams;
    SHORT cParamsOpt;
    SHORT oVft;
    SHORT cScodes;
    ELEMDESC elemdescFunc;
    WORD wFuncFlags;
};

struct TYPEATTR {
    GUID guid;
    LCID lcid;
    DWORD dwReserved;
    MEMBERID memidConstructor;
    MEMBERID memidDestructor;
    LPOLESTR lpstrSchema;
    ULONG cbSizeInstance;
    TYPEKIND typekind;
    WORD cFuncs;
    WORD cVars;
    WORD cImplTypes;
    WORD cbSizeVft;
    WORD cbAlignment;
    WORD wTypeFlags;
    WORD wMajorVerNum;
    WORD wMinorVerNum;
    TYPEDESC tdescAlias;
    IDLDESC idldescType;
};

struct TLIBATTR {
    GUID guid;
    LCID lcid;
    SYSKIND syskind;
    WORD wMajorVerNum;
    WORD wMinorVerNum;
    WORD wLibFlags;
};

static_assert(sizeof(void*) != 8 || (sizeof(ELEMDESC) == 32 && sizeof(FUNCDESC) == 88 && sizeof(TYPEATTR) == 96));
static_assert(sizeof(TLIBATTR) == 32);

}

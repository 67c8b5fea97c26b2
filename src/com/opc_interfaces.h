// The OPC Data Access 2.05a/3.00 and OPC Common 1.10 custom interfaces, declared from their
// published identifiers and layouts. Structures use natural alignment; every array or text that a
// method returns is allocated with the COM task allocator and freed by the caller.
#pragma once

#include "com/com.h"

using OPCHANDLE = DWORD;

inline constexpr DWORD OPC_READABLE = 1;
inline constexpr DWORD OPC_WRITEABLE = 2;
inline constexpr DWORD OPC_BROWSE_HASCHILDREN = 1;
inline constexpr DWORD OPC_BROWSE_ISITEM = 2;

inline constexpr WORD OPC_QUALITY_MASK = 0xC0;
inline constexpr WORD OPC_STATUS_MASK = 0xFC;
inline constexpr WORD OPC_LIMIT_MASK = 0x03;

inline constexpr CLSID CLSID_OpcServerList = {
    0x13486D51, 0x4821, 0x11D2, {0xA4, 0x94, 0x3C, 0xB3, 0x06, 0xC1, 0x00, 0x00}};

inline constexpr GUID CATID_OPCDAServer10 = {
    0x63D5F430, 0xCFE4, 0x11D1, {0xB2, 0xC8, 0x00, 0x60, 0x08, 0x3B, 0xA1, 0xFB}};
inline constexpr GUID CATID_OPCDAServer20 = {
    0x63D5F432, 0xCFE4, 0x11D1, {0xB2, 0xC8, 0x00, 0x60, 0x08, 0x3B, 0xA1, 0xFB}};
inline constexpr GUID CATID_OPCDAServer30 = {
    0xCC603642, 0x66D7, 0x48F1, {0xB6, 0x9A, 0xB6, 0x25, 0xE7, 0x36, 0x52, 0xD7}};

enum OPCDATASOURCE : std::int32_t {
    OPC_DS_CACHE = 1,
    OPC_DS_DEVICE = 2,
};

enum OPCBROWSETYPE : std::int32_t {
    OPC_BRANCH = 1,
    OPC_LEAF = 2,
    OPC_FLAT = 3,
};

enum OPCNAMESPACETYPE : std::int32_t {
    OPC_NS_HIERARCHIAL = 1,
    OPC_NS_FLAT = 2,
};

enum OPCBROWSEDIRECTION : std::int32_t {
    OPC_BROWSE_UP = 1,
    OPC_BROWSE_DOWN = 2,
    OPC_BROWSE_TO = 3,
};

enum OPCEUTYPE : std::int32_t {
    OPC_NOENUM = 0,
    OPC_ANALOG = 1,
    OPC_ENUMERATED = 2,
};

enum OPCSERVERSTATE : std::int32_t {
    OPC_STATUS_RUNNING = 1,
    OPC_STATUS_FAILED = 2,
    OPC_STATUS_NOCONFIG = 3,
    OPC_STATUS_SUSPENDED = 4,
    OPC_STATUS_TEST = 5,
    OPC_STATUS_COMM_FAULT = 6,
};

enum OPCENUMSCOPE : std::int32_t {
    OPC_ENUM_PRIVATE_CONNECTIONS = 1,
    OPC_ENUM_PUBLIC_CONNECTIONS = 2,
    OPC_ENUM_ALL_CONNECTIONS = 3,
    OPC_ENUM_PRIVATE = 4,
    OPC_ENUM_PUBLIC = 5,
    OPC_ENUM_ALL = 6,
};

enum OPCBROWSEFILTER : std::int32_t {
    OPC_BROWSE_FILTER_ALL = 1,
    OPC_BROWSE_FILTER_BRANCHES = 2,
    OPC_BROWSE_FILTER_ITEMS = 3,
};

struct OPCITEMSTATE {
    OPCHANDLE hClient;
    FILETIME ftTimeStamp;
    WORD wQuality;
    WORD wReserved;
    VARIANT vDataValue;
};

struct OPCSERVERSTATUS {
    FILETIME ftStartTime;
    FILETIME ftCurrentTime;
    FILETIME ftLastUpdateTime;
    OPCSERVERSTATE dwServerState;
    DWORD dwGroupCount;
    DWORD dwBandWidth;
    WORD wMajorVersion;
    WORD wMinorVersion;
    WORD wBuildNumber;
    WORD wReserved;
    LPWSTR szVendorInfo;
};

struct OPCITEMDEF {
    LPWSTR szAccessPath;
    LPWSTR szItemID;
    BOOL bActive;
    OPCHANDLE hClient;
    DWORD dwBlobSize;
    BYTE* pBlob;
    VARTYPE vtRequestedDataType;
    WORD wReserved;
};

struct OPCITEMATTRIBUTES {
    LPWSTR szAccessPath;
    LPWSTR szItemID;
    BOOL bActive;
    OPCHANDLE hClient;
    OPCHANDLE hServer;
    DWORD dwAccessRights;
    DWORD dwBlobSize;
    BYTE* pBlob;
    VARTYPE vtRequestedDataType;
    VARTYPE vtCanonicalDataType;
    OPCEUTYPE dwEUType;
    VARIANT vEUInfo;
};

struct OPCITEMRESULT {
    OPCHANDLE hServer;
    VARTYPE vtCanonicalDataType;
    WORD wReserved;
    DWORD dwAccessRights;
    DWORD dwBlobSize;
    BYTE* pBlob;
};

struct OPCITEMPROPERTY {
    VARTYPE vtDataType;
    WORD wReserved;
    DWORD dwPropertyID;
    LPWSTR szItemID;
    LPWSTR szDescription;
    VARIANT vValue;
    HRESULT hrErrorID;
    DWORD dwReserved;
};

struct OPCITEMPROPERTIES {
    HRESULT hrErrorID;
    DWORD dwNumProperties;
    OPCITEMPROPERTY* pItemProperties;
    DWORD dwReserved;
};

struct OPCBROWSEELEMENT {
    LPWSTR szName;
    LPWSTR szItemID;
    DWORD dwFlagValue;
    DWORD dwReserved;
    OPCITEMPROPERTIES ItemProperties;
};

struct OPCITEMVQT {
    VARIANT vDataValue;
    BOOL bQualitySpecified;
    WORD wQuality;
    WORD wReserved;
    BOOL bTimeStampSpecified;
    DWORD dwReserved;
    FILETIME ftTimeStamp;
};

struct IEnumOPCItemAttributes;
struct IOPCEnumGUID;

inline constexpr IID IID_IOPCServer = {0x39C13A4D, 0x011E, 0x11D0, {0x96, 0x75, 0x00, 0x20, 0xAF, 0xD8, 0xAD, 0xB3}};
struct IOPCServer : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE AddGroup(LPCWSTR szName, BOOL bActive, DWORD dwRequestedUpdateRate,
                                               OPCHANDLE hClientGroup, LONG* pTimeBias, FLOAT* pPercentDeadband,
                                               DWORD dwLCID, OPCHANDLE* phServerGroup, DWORD* pRevisedUpdateRate,
                                               REFIID riid, LPUNKNOWN* ppUnk) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetErrorString(HRESULT dwError, LCID dwLocale, LPWSTR* ppString) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetGroupByName(LPCWSTR szName, REFIID riid, LPUNKNOWN* ppUnk) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStatus(OPCSERVERSTATUS** ppServerStatus) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveGroup(OPCHANDLE hServerGroup, BOOL bForce) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateGroupEnumerator(OPCENUMSCOPE dwScope, REFIID riid, LPUNKNOWN* ppUnk) = 0;
};

inline constexpr IID IID_IOPCBrowseServerAddressSpace = {
    0x39C13A4F, 0x011E, 0x11D0, {0x96, 0x75, 0x00, 0x20, 0xAF, 0xD8, 0xAD, 0xB3}};
struct IOPCBrowseServerAddressSpace : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryOrganization(OPCNAMESPACETYPE* pNameSpaceType) = 0;
    virtual HRESULT STDMETHODCALLTYPE ChangeBrowsePosition(OPCBROWSEDIRECTION dwBrowseDirection, LPCWSTR szString) = 0;
    virtual HRESULT STDMETHODCALLTYPE BrowseOPCItemIDs(OPCBROWSETYPE dwBrowseFilterType, LPCWSTR szFilterCriteria,
                                                       VARTYPE vtDataTypeFilter, DWORD dwAccessRightsFilter,
                                                       LPENUMSTRING* ppIEnumString) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetItemID(LPWSTR szItemDataID, LPWSTR* szItemID) = 0;
    virtual HRESULT STDMETHODCALLTYPE BrowseAccessPaths(LPCWSTR szItemID, LPENUMSTRING* ppIEnumString) = 0;
};

inline constexpr IID IID_IOPCGroupStateMgt = {
    0x39C13A50, 0x011E, 0x11D0, {0x96, 0x75, 0x00, 0x20, 0xAF, 0xD8, 0xAD, 0xB3}};
struct IOPCGroupStateMgt : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetState(DWORD* pUpdateRate, BOOL* pActive, LPWSTR* ppName, LONG* pTimeBias,
                                               FLOAT* pPercentDeadband, DWORD* pLCID, OPCHANDLE* phClientGroup,
                                               OPCHANDLE* phServerGroup) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetState(DWORD* pRequestedUpdateRate, DWORD* pRevisedUpdateRate, BOOL* pActive,
                                               LONG* pTimeBias, FLOAT* pPercentDeadband, DWORD* pLCID,
                                               OPCHANDLE* phClientGroup) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetName(LPCWSTR szName) = 0;
    virtual HRESULT STDMETHODCALLTYPE CloneGroup(LPCWSTR szName, REFIID riid, LPUNKNOWN* ppUnk) = 0;
};

inline constexpr IID IID_IOPCSyncIO = {0x39C13A52, 0x011E, 0x11D0, {0x96, 0x75, 0x00, 0x20, 0xAF, 0xD8, 0xAD, 0xB3}};
struct IOPCSyncIO : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Read(OPCDATASOURCE dwSource, DWORD dwCount, OPCHANDLE* phServer,
                                           OPCITEMSTATE** ppItemValues, HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE Write(DWORD dwCount, OPCHANDLE* phServer, VARIANT* pItemValues,
                                            HRESULT** ppErrors) = 0;
};

inline constexpr IID IID_IOPCItemMgt = {0x39C13A54, 0x011E, 0x11D0, {0x96, 0x75, 0x00, 0x20, 0xAF, 0xD8, 0xAD, 0xB3}};
struct IOPCItemMgt : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE AddItems(DWORD dwCount, OPCITEMDEF* pItemArray, OPCITEMRESULT** ppAddResults,
                                               HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE ValidateItems(DWORD dwCount, OPCITEMDEF* pItemArray, BOOL bBlobUpdate,
                                                    OPCITEMRESULT** ppValidationResults, HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveItems(DWORD dwCount, OPCHANDLE* phServer, HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetActiveState(DWORD dwCount, OPCHANDLE* phServer, BOOL bActive,
                                                     HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetClientHandles(DWORD dwCount, OPCHANDLE* phServer, OPCHANDLE* phClient,
                                                       HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDatatypes(DWORD dwCount, OPCHANDLE* phServer, VARTYPE* pRequestedDatatypes,
                                                   HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateEnumerator(REFIID riid, LPUNKNOWN* ppUnk) = 0;
};

inline constexpr IID IID_IEnumOPCItemAttributes = {
    0x39C13A55, 0x011E, 0x11D0, {0x96, 0x75, 0x00, 0x20, 0xAF, 0xD8, 0xAD, 0xB3}};
struct IEnumOPCItemAttributes : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG celt, OPCITEMATTRIBUTES** ppItemArray, ULONG* pceltFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG celt) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumOPCItemAttributes** ppEnumItemAttributes) = 0;
};

inline constexpr IID IID_IOPCDataCallback = {
    0x39C13A70, 0x011E, 0x11D0, {0x96, 0x75, 0x00, 0x20, 0xAF, 0xD8, 0xAD, 0xB3}};
struct IOPCDataCallback : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE OnDataChange(DWORD dwTransid, OPCHANDLE hGroup, HRESULT hrMasterquality,
                                                   HRESULT hrMastererror, DWORD dwCount, OPCHANDLE* phClientItems,
                                                   VARIANT* pvValues, WORD* pwQualities, FILETIME* pftTimeStamps,
                                                   HRESULT* pErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnReadComplete(DWORD dwTransid, OPCHANDLE hGroup, HRESULT hrMasterquality,
                                                     HRESULT hrMastererror, DWORD dwCount, OPCHANDLE* phClientItems,
                                                     VARIANT* pvValues, WORD* pwQualities, FILETIME* pftTimeStamps,
                                                     HRESULT* pErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnWriteComplete(DWORD dwTransid, OPCHANDLE hGroup, HRESULT hrMastererr,
                                                      DWORD dwCount, OPCHANDLE* pClienthandles, HRESULT* pErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnCancelComplete(DWORD dwTransid, OPCHANDLE hGroup) = 0;
};

inline constexpr IID IID_IOPCAsyncIO2 = {0x39C13A71, 0x011E, 0x11D0, {0x96, 0x75, 0x00, 0x20, 0xAF, 0xD8, 0xAD, 0xB3}};
struct IOPCAsyncIO2 : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Read(DWORD dwCount, OPCHANDLE* phServer, DWORD dwTransactionID,
                                           DWORD* pdwCancelID, HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE Write(DWORD dwCount, OPCHANDLE* phServer, VARIANT* pItemValues,
                                            DWORD dwTransactionID, DWORD* pdwCancelID, HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE Refresh2(OPCDATASOURCE dwSource, DWORD dwTransactionID, DWORD* pdwCancelID) = 0;
    virtual HRESULT STDMETHODCALLTYPE Cancel2(DWORD dwCancelID) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetEnable(BOOL bEnable) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetEnable(BOOL* pbEnable) = 0;
};

inline constexpr IID IID_IOPCItemProperties = {
    0x39C13A72, 0x011E, 0x11D0, {0x96, 0x75, 0x00, 0x20, 0xAF, 0xD8, 0xAD, 0xB3}};
struct IOPCItemProperties : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryAvailableProperties(LPWSTR szItemID, DWORD* pdwCount, DWORD** ppPropertyIDs,
                                                               LPWSTR** ppDescriptions, VARTYPE** ppvtDataTypes) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetItemProperties(LPWSTR szItemID, DWORD dwCount, DWORD* pdwPropertyIDs,
                                                        VARIANT** ppvData, HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE LookupItemIDs(LPWSTR szItemID, DWORD dwCount, DWORD* pdwPropertyIDs,
                                                    LPWSTR** ppszNewItemIDs, HRESULT** ppErrors) = 0;
};

inline constexpr IID IID_IOPCItemDeadbandMgt = {
    0x5946DA93, 0x8B39, 0x4EC8, {0xAB, 0x3D, 0xAA, 0x73, 0xDF, 0x5B, 0xC8, 0x6F}};
struct IOPCItemDeadbandMgt : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetItemDeadband(DWORD dwCount, OPCHANDLE* phServer, FLOAT* pPercentDeadband,
                                                      HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetItemDeadband(DWORD dwCount, OPCHANDLE* phServer, FLOAT** ppPercentDeadband,
                                                      HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE ClearItemDeadband(DWORD dwCount, OPCHANDLE* phServer, HRESULT** ppErrors) = 0;
};

inline constexpr IID IID_IOPCItemSamplingMgt = {
    0x3E22D313, 0xF08B, 0x41A5, {0x86, 0xC8, 0x95, 0xE9, 0x5C, 0xB4, 0x9F, 0xFC}};
struct IOPCItemSamplingMgt : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetItemSamplingRate(DWORD dwCount, OPCHANDLE* phServer,
                                                          DWORD* pdwRequestedSamplingRate,
                                                          DWORD** ppdwRevisedSamplingRate, HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetItemSamplingRate(DWORD dwCount, OPCHANDLE* phServer, DWORD** ppdwSamplingRate,
                                                          HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE ClearItemSamplingRate(DWORD dwCount, OPCHANDLE* phServer, HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetItemBufferEnable(DWORD dwCount, OPCHANDLE* phServer, BOOL* pbEnable,
                                                          HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetItemBufferEnable(DWORD dwCount, OPCHANDLE* phServer, BOOL** ppbEnable,
                                                          HRESULT** ppErrors) = 0;
};

inline constexpr IID IID_IOPCBrowse = {0x39227004, 0xA18F, 0x4B57, {0x8B, 0x0A, 0x52, 0x35, 0x67, 0x0F, 0x44, 0x68}};
struct IOPCBrowse : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetProperties(DWORD dwItemCount, LPWSTR* pszItemIDs, BOOL bReturnPropertyValues,
                                                    DWORD dwPropertyCount, DWORD* pdwPropertyIDs,
                                                    OPCITEMPROPERTIES** ppItemProperties) = 0;
    virtual HRESULT STDMETHODCALLTYPE Browse(LPWSTR szItemID, LPWSTR* pszContinuationPoint, DWORD dwMaxElementsReturned,
                                             OPCBROWSEFILTER dwBrowseFilter, LPWSTR szElementNameFilter,
                                             LPWSTR szVendorFilter, BOOL bReturnAllProperties,
                                             BOOL bReturnPropertyValues, DWORD dwPropertyCount, DWORD* pdwPropertyIDs,
                                             BOOL* pbMoreElements, DWORD* pdwCount,
                                             OPCBROWSEELEMENT** ppBrowseElements) = 0;
};

inline constexpr IID IID_IOPCItemIO = {0x85C0B427, 0x2893, 0x4CBC, {0xBD, 0x78, 0xE5, 0xFC, 0x51, 0x46, 0xF0, 0x8F}};
struct IOPCItemIO : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Read(DWORD dwCount, LPCWSTR* pszItemIDs, DWORD* pdwMaxAge, VARIANT** ppvValues,
                                           WORD** ppwQualities, FILETIME** ppftTimeStamps, HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteVQT(DWORD dwCount, LPCWSTR* pszItemIDs, OPCITEMVQT* pItemVQT,
                                               HRESULT** ppErrors) = 0;
};

inline constexpr IID IID_IOPCSyncIO2 = {0x730F5F0F, 0x55B1, 0x4C81, {0x9E, 0x18, 0xFF, 0x8A, 0x09, 0x04, 0xE1, 0xFA}};
struct IOPCSyncIO2 : public IOPCSyncIO {
    virtual HRESULT STDMETHODCALLTYPE ReadMaxAge(DWORD dwCount, OPCHANDLE* phServer, DWORD* pdwMaxAge,
                                                 VARIANT** ppvValues, WORD** ppwQualities, FILETIME** ppftTimeStamps,
                                                 HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteVQT(DWORD dwCount, OPCHANDLE* phServer, OPCITEMVQT* pItemVQT,
                                               HRESULT** ppErrors) = 0;
};

inline constexpr IID IID_IOPCAsyncIO3 = {0x0967B97B, 0x36EF, 0x423E, {0xB6, 0xF8, 0x6B, 0xFF, 0x1E, 0x40, 0xD3, 0x9D}};
struct IOPCAsyncIO3 : public IOPCAsyncIO2 {
    virtual HRESULT STDMETHODCALLTYPE ReadMaxAge(DWORD dwCount, OPCHANDLE* phServer, DWORD* pdwMaxAge,
                                                 DWORD dwTransactionID, DWORD* pdwCancelID, HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteVQT(DWORD dwCount, OPCHANDLE* phServer, OPCITEMVQT* pItemVQT,
                                               DWORD dwTransactionID, DWORD* pdwCancelID, HRESULT** ppErrors) = 0;
    virtual HRESULT STDMETHODCALLTYPE RefreshMaxAge(DWORD dwMaxAge, DWORD dwTransactionID, DWORD* pdwCancelID) = 0;
};

inline constexpr IID IID_IOPCGroupStateMgt2 = {
    0x8E368666, 0xD72E, 0x4F78, {0x87, 0xED, 0x64, 0x76, 0x11, 0xC6, 0x1C, 0x9F}};
struct IOPCGroupStateMgt2 : public IOPCGroupStateMgt {
    virtual HRESULT STDMETHODCALLTYPE SetKeepAlive(DWORD dwKeepAliveTime, DWORD* pdwRevisedKeepAliveTime) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetKeepAlive(DWORD* pdwKeepAliveTime) = 0;
};

inline constexpr IID IID_IOPCShutdown = {0xF31DFDE1, 0x07B6, 0x11D2, {0xB2, 0xD8, 0x00, 0x60, 0x08, 0x3B, 0xA1, 0xFB}};
struct IOPCShutdown : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE ShutdownRequest(LPCWSTR szReason) = 0;
};

inline constexpr IID IID_IOPCCommon = {0xF31DFDE2, 0x07B6, 0x11D2, {0xB2, 0xD8, 0x00, 0x60, 0x08, 0x3B, 0xA1, 0xFB}};
struct IOPCCommon : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetLocaleID(LCID dwLcid) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetLocaleID(LCID* pdwLcid) = 0;
    virtual HRESULT STDMETHODCALLTYPE QueryAvailableLocaleIDs(DWORD* pdwCount, LCID** pdwLcid) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetErrorString(HRESULT dwError, LPWSTR* ppString) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetClientName(LPCWSTR szName) = 0;
};

inline constexpr IID IID_IOPCServerList = {
    0x13486D50, 0x4821, 0x11D2, {0xA4, 0x94, 0x3C, 0xB3, 0x06, 0xC1, 0x00, 0x00}};
struct IOPCServerList : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE EnumClassesOfCategories(ULONG cImplemented, CATID* rgcatidImpl, ULONG cRequired,
                                                              CATID* rgcatidReq, IEnumGUID** ppenumClsid) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetClassDetails(REFCLSID clsid, LPOLESTR* ppszProgID, LPOLESTR* ppszUserType) = 0;
    virtual HRESULT STDMETHODCALLTYPE CLSIDFromProgID(LPCOLESTR szProgId, LPCLSID clsid) = 0;
};

inline constexpr IID IID_IOPCEnumGUID = {0x55C382C8, 0x21C7, 0x4E88, {0x96, 0xC1, 0xBE, 0xCF, 0xB1, 0xE3, 0xF4, 0x83}};
struct IOPCEnumGUID : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG celt, GUID* rgelt, ULONG* pceltFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG celt) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IOPCEnumGUID** ppenum) = 0;
};

inline constexpr IID IID_IOPCServerList2 = {
    0x9DD0B56C, 0xAD9E, 0x43EE, {0x83, 0x05, 0x48, 0x7F, 0x31, 0x88, 0xBF, 0x7A}};
struct IOPCServerList2 : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE EnumClassesOfCategories(ULONG cImplemented, CATID* rgcatidImpl, ULONG cRequired,
                                                              CATID* rgcatidReq, IOPCEnumGUID** ppenumClsid) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetClassDetails(REFCLSID clsid, LPOLESTR* ppszProgID, LPOLESTR* ppszUserType,
                                                      LPOLESTR* ppszVerIndProgID) = 0;
    virtual HRESULT STDMETHODCALLTYPE CLSIDFromProgID(LPCOLESTR szProgId, LPCLSID clsid) = 0;
};

// The identifier that QueryInterface is asked for when a ComPtr of the interface is wanted.
template <>
inline const IID& iidOf<IOPCServer>() noexcept {
    return IID_IOPCServer;
}
template <>
inline const IID& iidOf<IOPCBrowseServerAddressSpace>() noexcept {
    return IID_IOPCBrowseServerAddressSpace;
}
template <>
inline const IID& iidOf<IOPCGroupStateMgt>() noexcept {
    return IID_IOPCGroupStateMgt;
}
template <>
inline const IID& iidOf<IOPCSyncIO>() noexcept {
    return IID_IOPCSyncIO;
}
template <>
inline const IID& iidOf<IOPCItemMgt>() noexcept {
    return IID_IOPCItemMgt;
}
template <>
inline const IID& iidOf<IEnumOPCItemAttributes>() noexcept {
    return IID_IEnumOPCItemAttributes;
}
template <>
inline const IID& iidOf<IOPCDataCallback>() noexcept {
    return IID_IOPCDataCallback;
}
template <>
inline const IID& iidOf<IOPCAsyncIO2>() noexcept {
    return IID_IOPCAsyncIO2;
}
template <>
inline const IID& iidOf<IOPCItemProperties>() noexcept {
    return IID_IOPCItemProperties;
}
template <>
inline const IID& iidOf<IOPCItemDeadbandMgt>() noexcept {
    return IID_IOPCItemDeadbandMgt;
}
template <>
inline const IID& iidOf<IOPCItemSamplingMgt>() noexcept {
    return IID_IOPCItemSamplingMgt;
}
template <>
inline const IID& iidOf<IOPCBrowse>() noexcept {
    return IID_IOPCBrowse;
}
template <>
inline const IID& iidOf<IOPCItemIO>() noexcept {
    return IID_IOPCItemIO;
}
template <>
inline const IID& iidOf<IOPCSyncIO2>() noexcept {
    return IID_IOPCSyncIO2;
}
template <>
inline const IID& iidOf<IOPCAsyncIO3>() noexcept {
    return IID_IOPCAsyncIO3;
}
template <>
inline const IID& iidOf<IOPCGroupStateMgt2>() noexcept {
    return IID_IOPCGroupStateMgt2;
}
template <>
inline const IID& iidOf<IOPCShutdown>() noexcept {
    return IID_IOPCShutdown;
}
template <>
inline const IID& iidOf<IOPCCommon>() noexcept {
    return IID_IOPCCommon;
}
template <>
inline const IID& iidOf<IOPCServerList>() noexcept {
    return IID_IOPCServerList;
}
template <>
inline const IID& iidOf<IOPCEnumGUID>() noexcept {
    return IID_IOPCEnumGUID;
}
template <>
inline const IID& iidOf<IOPCServerList2>() noexcept {
    return IID_IOPCServerList2;
}

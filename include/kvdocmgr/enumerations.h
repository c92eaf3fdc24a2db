// The enumerations of the type library, each 32 bits wide.
#pragma once

#include <kvdocmgr/oletypes.h>

enum KvDmDocumentType : LONG
{
    kvDmDocumentUnknown = 0,
    kvDmDocumentPart = 1,
    kvDmDocumentAssembly = 2,
    kvDmDocumentDrawing = 3
};

enum KvDmDocumentOpenError : LONG
{
    kvDmDocumentOpenErrorNone = 0,
    kvDmDocumentOpenErrorFail = 1,
    kvDmDocumentOpenErrorNonKV = 2,
    kvDmDocumentOpenErrorFileNotFound = 3
};

enum KvDmDocumentSaveError : LONG
{
    kvDmDocumentSaveErrorNone = 0,
    kvDmDocumentSaveErrorReadOnly = 1,
    kvDmDocumentSaveErrorFail = 2
};

enum KvDmLmvDataError : LONG
{
    kvDmLmvDataErrorNone = 0,
    kvDmLmvDataErrorNoData = 1,
    kvDmLmvDataErrorFileCreation = 2,
    kvDmLmvDataErrorInvalidStorage = 4
};

enum KvDmXmlDataError : LONG
{
    kvDmXmlDataErrorNone = 0,
    kvDmXmlDataErrorNoData = 1,
    kvDmXmlDataErrorFileCreation = 2,
    kvDmXmlDataErrorInvalidStorage = 4
};

enum KvDmPreviewError : LONG
{
    kvDmPreviewErrorNone = 0,
    kvDmPreviewErrorFileOpen = 1,
    kvDmPreviewErrorNoPreview = 2,
    kvDmPreviewErrorMakeBmpFail = 4
};

enum KvDmBodyError : LONG
{
    kvDmBodyErrorNone = 0,
    kvDmBodyErrorGetCountNotCalled = 1,
    kvDmBodyErrorInvalidStorage = 2,
    kvBodyErrorNoData = 4,
    kvBodyErrorFileCreation = 8,
    kvBodyErrorDecompression = 16
};

enum KvDmMassPropError : LONG
{
    kvDmMassPropErrorNone = 0,
    kvDmMassPropErrorEarlierVersion = 1,
    kvDmMassPropErrorNoData = 2,
    kvDmMassPropErrorUnknown = 3
};

// Bits.
enum KvDmMoveCopyError : LONG
{
    kvDmMoveCopyErrorNone = 0,
    kvDmMoveCopyErrorSourceDoesNotExist = 1,
    kvDmMoveCopyErrorFail = 2
};

// Bits.
enum KvDmCopyOptions : LONG
{
    kvDmCopyOptionsOverwriteExistingDocs = 1,
    kvDmCopyOptionsCreateNewFolder = 2
};

// Bits.
enum KvDmSearchFilters : LONG
{
    KvDmSearchSubfolders = 1,
    KvDmSearchForPart = 2,
    KvDmSearchForDrawing = 4,
    KvDmSearchForAssembly = 8,
    KvDmSearchExternalReference = 16,
    KvDmSearchInContextReference = 32
};

enum KvDmToolboxPartType : LONG
{
    kvDmNotAToolboxPart = 0,
    kvDmToolboxStandardPart = 1,
    kvDmToolboxCopiedPart = 2
};

// The variant type of the property in the file.
enum KvDmCustomInfoType : LONG
{
    kvDmCustomInfoUnknown = 0,
    kvDmCustomInfoText = 30,
    kvDmCustomInfoDate = 64,
    kvDmCustomInfoNumber = 3,
    kvDmCustomInfoYesOrNo = 11
};

enum KvDmReferenceStatus : LONG
{
    kvDmReferenceStatusUnknown = 0,
    kvDmReferenceStatusBroken = 1,
    kvDmReferenceStatusNotBroken = 2
};

enum KvDmTableType : LONG
{
    kvDmTableTypeUnsupported = 0,
    kvDmTableTypeRevision = 1,
    kvDmTableTypeBOM = 2
};

enum KvDmColumnType : LONG
{
    kvDmColumnTypeNotFound = -1,
    kvDmColumnTypeZone = 0,
    kvDmColumnTypeRevision = 1,
    kvDmColumnTypeDescription = 2,
    kvDmColumnTypeDate = 3,
    kvDmColumnTypeApproved = 4,
    kvDmColumnTypeUser = 5
};

enum KvDmTableHeaderStyle : LONG
{
    KvDmTableHeaderStyleTop = 0,
    KvDmTableHeaderStyleBottom = 1,
    KvDmTableHeaderStyleNotFound = 2
};

enum KvDmTableError : LONG
{
    KvDmTableErrorNone = 0,
    KvDmTableErrorFailed = 1,
    KvDmTableErrorNotSupported = 2
};

enum kvDmExcludeFromBOMResult : LONG
{
    kvDmExcludeFromBOM_NotDefined = -1,
    kvDmExcludeFromBOM_FALSE = 0,
    kvDmExcludeFromBOM_TRUE = 1
};

using KvDmWhereUsedOptions = KvDmSearchFilters; // an alias of the type library

// Everything that a client of the library needs.
#pragma once

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/enumerations.h>
#include <kvdocmgr/exports.h>
#include <kvdocmgr/identifiers.h>
#include <kvdocmgr/IKvDMApplication.h>
#include <kvdocmgr/IKvDMComponent.h>
#include <kvdocmgr/IKvDMConfiguration.h>
#include <kvdocmgr/IKvDMDocument.h>
#include <kvdocmgr/IKvDMSheet.h>
#include <kvdocmgr/IKvDMTable.h>
#include <kvdocmgr/oletypes.h>
#include <kvdocmgr/owned.h>
#include <kvdocmgr/picture.h>
#include <kvdocmgr/text.h>

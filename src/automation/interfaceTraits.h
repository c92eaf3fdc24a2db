// The identifier and the predecessor of every automation interface, for QueryInterface.
#pragma once

#include "common/automationObject.h"

#include <kvdocmgr/kvdocmgr.h>

namespace kvdm {

template <> struct InterfaceTraits<IKvDMClassFactory> : InterfaceTraitsOf<IUnknown, IID_IKvDMClassFactory>
{
};
template <> struct InterfaceTraits<IKvDMApplication> : InterfaceTraitsOf<IUnknown, IID_IKvDMApplication>
{
};
template <> struct InterfaceTraits<IKvDMApplication2> : InterfaceTraitsOf<IKvDMApplication, IID_IKvDMApplication2>
{
};
template <> struct InterfaceTraits<IKvDMDocument> : InterfaceTraitsOf<IUnknown, IID_IKvDMDocument>
{
};
template <> struct InterfaceTraits<IKvDMDocument2> : InterfaceTraitsOf<IKvDMDocument, IID_IKvDMDocument2>
{
};
template <> struct InterfaceTraits<IKvDMDocument3> : InterfaceTraitsOf<IKvDMDocument2, IID_IKvDMDocument3>
{
};
template <> struct InterfaceTraits<IKvDMDocument4> : InterfaceTraitsOf<IKvDMDocument3, IID_IKvDMDocument4>
{
};
template <> struct InterfaceTraits<IKvDMDocument5> : InterfaceTraitsOf<IKvDMDocument4, IID_IKvDMDocument5>
{
};
template <> struct InterfaceTraits<IKvDMDocument6> : InterfaceTraitsOf<IKvDMDocument5, IID_IKvDMDocument6>
{
};
template <> struct InterfaceTraits<IKvDMDocument7> : InterfaceTraitsOf<IKvDMDocument6, IID_IKvDMDocument7>
{
};
template <> struct InterfaceTraits<IKvDMDocument8> : InterfaceTraitsOf<IKvDMDocument7, IID_IKvDMDocument8>
{
};
template <> struct InterfaceTraits<IKvDMDocument9> : InterfaceTraitsOf<IKvDMDocument8, IID_IKvDMDocument9>
{
};
template <> struct InterfaceTraits<IKvDMDocument10> : InterfaceTraitsOf<IKvDMDocument9, IID_IKvDMDocument10>
{
};
template <> struct InterfaceTraits<IKvDMDocument11> : InterfaceTraitsOf<IUnknown, IID_IKvDMDocument11>
{
};
template <> struct InterfaceTraits<IKvDMDocument12> : InterfaceTraitsOf<IKvDMDocument10, IID_IKvDMDocument12>
{
};
template <> struct InterfaceTraits<ICommonCadDocument> : InterfaceTraitsOf<IUnknown, IID_ICommonCadDocument>
{
};
template <> struct InterfaceTraits<IKvDMConfigurationMgr> : InterfaceTraitsOf<IUnknown, IID_IKvDMConfigurationMgr>
{
};
template <> struct InterfaceTraits<ICommonCADConfigurationMgr> : InterfaceTraitsOf<IUnknown, IID_ICommonCADConfigurationMgr>
{
};
template <> struct InterfaceTraits<IKvDMConfiguration> : InterfaceTraitsOf<IUnknown, IID_IKvDMConfiguration>
{
};
template <> struct InterfaceTraits<IKvDMConfiguration2> : InterfaceTraitsOf<IKvDMConfiguration, IID_IKvDMConfiguration2>
{
};
template <> struct InterfaceTraits<IKvDMConfiguration3> : InterfaceTraitsOf<IKvDMConfiguration2, IID_IKvDMConfiguration3>
{
};
template <> struct InterfaceTraits<IKvDMConfiguration4> : InterfaceTraitsOf<IKvDMConfiguration3, IID_IKvDMConfiguration4>
{
};
template <> struct InterfaceTraits<IKvDMConfiguration5> : InterfaceTraitsOf<IKvDMConfiguration4, IID_IKvDMConfiguration5>
{
};
template <> struct InterfaceTraits<IKvDMConfiguration6> : InterfaceTraitsOf<IKvDMConfiguration5, IID_IKvDMConfiguration6>
{
};
template <> struct InterfaceTraits<IKvDMConfiguration7> : InterfaceTraitsOf<IKvDMConfiguration6, IID_IKvDMConfiguration7>
{
};
template <> struct InterfaceTraits<IKvDMConfiguration8> : InterfaceTraitsOf<IKvDMConfiguration7, IID_IKvDMConfiguration8>
{
};
template <> struct InterfaceTraits<IKvDMConfiguration9> : InterfaceTraitsOf<IKvDMConfiguration8, IID_IKvDMConfiguration9>
{
};
template <> struct InterfaceTraits<IKvDMComponent> : InterfaceTraitsOf<IUnknown, IID_IKvDMComponent>
{
};
template <> struct InterfaceTraits<IKvDMComponent2> : InterfaceTraitsOf<IKvDMComponent, IID_IKvDMComponent2>
{
};
template <> struct InterfaceTraits<IKvDMComponent3> : InterfaceTraitsOf<IKvDMComponent2, IID_IKvDMComponent3>
{
};
template <> struct InterfaceTraits<IKvDMComponent4> : InterfaceTraitsOf<IKvDMComponent3, IID_IKvDMComponent4>
{
};
template <> struct InterfaceTraits<IKvDMComponent5> : InterfaceTraitsOf<IKvDMComponent4, IID_IKvDMComponent5>
{
};
template <> struct InterfaceTraits<IKvDMSheet> : InterfaceTraitsOf<IUnknown, IID_IKvDMSheet>
{
};
template <> struct InterfaceTraits<IKvDMView> : InterfaceTraitsOf<IUnknown, IID_IKvDMView>
{
};
template <> struct InterfaceTraits<IKvDMTable> : InterfaceTraitsOf<IUnknown, IID_IKvDMTable>
{
};
template <> struct InterfaceTraits<IKvDMCutListItem> : InterfaceTraitsOf<IUnknown, IID_IKvDMCutListItem>
{
};
template <> struct InterfaceTraits<IKvDMSearchOption> : InterfaceTraitsOf<IUnknown, IID_IKvDMSearchOption>
{
};
template <> struct InterfaceTraits<ICommonCADSearchOption> : InterfaceTraitsOf<IUnknown, IID_ICommonCADSearchOption>
{
};

} // namespace kvdm

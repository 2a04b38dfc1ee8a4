#include "provider/CFC_EMULEX_16G_Vendor.h"
#include "provider/modules/CEMULEX_OCM_Utility.h"
#include "provider/modules/CFC_EMULEX_16G_Firmware.h"
#include "provider/modules/CFC_EMULEX_Driver.h"

#include <gtest/gtest.h>

#include <cstring>

// Hosts of other making call through the tables, so the places in them are part of the contract. A
// pointer to a virtual member holds its place: one more than the offset into the table.

namespace {

template <class Member>
long PlaceOf(Member member) {
    static_assert(sizeof member == 2 * sizeof(long));
    long parts[2];
    std::memcpy(parts, &member, sizeof member);
    EXPECT_EQ(parts[0] % static_cast<long>(sizeof(long)), 1) << "not virtual";
    EXPECT_EQ(parts[1], 0) << "not in the first table";
    return (parts[0] - 1) / static_cast<long>(sizeof(long));
}

// The destructor takes the first two places, so the second operation of a table has place 2.
template <class... Members>
void ExpectOrder(long first, Members... members) {
    for (long place : {PlaceOf(members)...}) {
        EXPECT_EQ(place, first) << "operation " << first;
        ++first;
    }
}

TEST(SlotOrder, Vendor) {
    using V = CFC_EMULEX_16G_Vendor;
    ExpectOrder(2, &V::GetHardwareVersion, &V::CheckHardwareVersion, &V::LinkDevice,
                &V::ExecVendorMethod, &V::GetExtendedInfo, &V::GetLinkApplicationInfo,
                &V::GetUpdateOrderModuleKind, &V::CheckUpdateModuleRegistration,
                &V::ConfirmUpdateModuleRegistration, &V::ExecuteUpdateBackup, &V::ExecutePreUpdate,
                &V::ExecuteUpdate, &V::ExecuteUpdateRestore, &V::ExecuteUpdateApplyCheck,
                &V::CheckDependentInfo, &V::CheckUpdateCondition, &V::GetDeviceInfo,
                &V::SetUpdatePriority, &V::SetOwnerProvider, &V::SetIWbemServices,
                &V::GetHardwareVersionCache, &V::IsUpdateFailure, &V::GetLatestUpdateDate,
                &V::GetPrevVendorVersion, &V::SetDependencyInfo, &V::SetLatestUpdateDate,
                &V::SetPrevVendorVersion, &V::ClearUpdateStatus, &V::StartOutputDeviceConfigInfo,
                &V::ExecOutputDeviceConfigInfo, &V::EndOutputDeviceConfigInfo,
                &V::GetShortageOfNecessaryApplicationInfo, &V::CheckUpdateConditionByDevicevendor,
                &V::CheckUpdateConditionByModule, &V::GetWWPNOriginal, &V::GetWWPNEditedforDisplay);
}

template <class M>
void ExpectModuleOrder() {
    ExpectOrder(2, &M::GetOperatingVersion, &M::CheckVendorVersion, &M::CheckRegisterUpdateModule,
                &M::RegistUpdateModule, &M::GetManageModuleInfo, &M::GetOldOperatingModuleInfo,
                &M::GetOperatingModuleInfo, &M::GetUpdateModuleInfo, &M::GetUpdatePriority,
                &M::SetUpdatePriority, &M::InitializeOperatingModuleInfo, &M::CheckDependentInfo,
                &M::ApplyUpdatesRepository, &M::RollbackRepository, &M::GetUpdateStatus,
                &M::GetUpdateProgress, &M::GetLatestUpdateDate, &M::GetPrevVendorVersion,
                &M::ExecuteUpdateBackup, &M::ExecutePreUpdate, &M::ExecuteUpdate,
                &M::ExecuteUpdateRestore, &M::ExecuteUpdateApplyCheck, &M::SetUpdateStatus,
                &M::SetUpdateProgress, &M::SetLatestUpdateDate, &M::SetPrevVendorVersion,
                &M::LoadRepository, &M::GetOperatingVersionCache, &M::SetDependencyInfo,
                &M::UpdateBackup, &M::PreUpdate, &M::Update, &M::UpdateRestore,
                &M::UpdateApplyCheck);
}

TEST(SlotOrder, Modules) {
    using Driver = CFC_EMULEX_Driver;
    using Firmware = CFC_EMULEX_16G_Firmware;
    ExpectModuleOrder<CEMULEX_OCM_Utility>();
    ExpectModuleOrder<Driver>();
    ExpectOrder(37, &Driver::SetWWPNorMac, &Driver::FormatVersionString);
    ExpectModuleOrder<Firmware>();
    ExpectOrder(37, &Firmware::SetWWPNorMac, &Firmware::FormatVersionString,
                &Firmware::GetBootBiosVersion, &Firmware::CheckBootBiosVersionFormat);
}

}  // namespace

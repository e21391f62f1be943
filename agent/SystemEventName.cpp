#include "agent/SystemEventName.h"

#include <array>

namespace {

// Indexed by event code. Null: the code has no name.
constexpr std::array<const char*, 122> kNames = {
    nullptr,  // 0
    "OnAll",
    "OnAlive",
    "OnProjectChanged",
    "OnProjectNew",
    "OnProjectLoaded",
    "OnPIP",
    "OnItemAdded",
    "OnItemNameChanged",
    "OnItemDataChanged",
    "OnDeviceDataChanged",  // 10
    "OnItemRemoved",
    "OnItemMoved",
    "OnDriverAdded",
    "OnDeviceIdentified",
    "OnBindingAdded",
    "OnBindingRemoved",
    "OnNetworkBindingAdded",
    "OnNetworkBindingRemoved",
    "OnNetworkBindingRegistered",
    "OnNetworkBindingUnregistered",  // 20
    "OnCodeItemAdded",
    "OnCodeItemRemoved",
    "OnCodeItemMoved",
    "OnMediaInfoAdded",
    "OnMediaInfoModified",
    "OnMediaRemovedFromDevice",
    "OnMediaDataRemoved",
    "OnSongAddedToPlaylist",
    "OnSongRemovedFromPlaylist",
    "OnPhysicalDeviceAdded",  // 30
    "OnPhysicalDeviceRemoved",
    "OnDataToUI",
    "OnAccessModeChanged",
    "OnVariableAdded",
    "OnUserVariableAdded",
    "OnVariableRemoved",
    "OnVariableRenamed",
    "OnVariableChanged",
    "OnVariableBindingAdded",
    "OnVariableBindingRemoved",  // 40
    "OnVariableBindingRenamed",
    "OnVariableAddedToBinding",
    "OnVariableRemovedFromBinding",
    "OnMediaDeviceAdded",
    "OnMediaDeviceRemoved",
    "OnProjectLocked",
    "OnProjectLeaveLock",
    "OnDeviceOnline",
    "OnDeviceOffline",
    "OnSearchTypeFound",  // 50
    "OnNetworkBindingStatusChanged",
    "OnZipcodeChanged",
    "OnLatitudeChanged",
    "OnLongitudeChanged",
    "OnDeviceAlreadyIdentified",
    "OnControllerDisabled",
    "OnDeviceFirmwareChanged",
    "OnLocaleChanged",
    "OnZigbeeNodesChanged",
    "OnZigbeeZapsChanged",  // 60
    "OnZigbeeMeshChanged",
    "OnZigbeeZserverChanged",
    "OnSysmanResponse",
    "OnTimezoneChanged",
    "OnMediaSessionAdded",
    "OnMediaSessionRemoved",
    "OnMediaSessionChanged",
    "OnMediaDeviceChanged",
    "OnProjectEnterLock",
    nullptr,  // 70
    "OnZigBeeStickPresent",
    "OnZigBeeStickRemoved",
    "OnZigbeeNodeUpdateStatus",
    "OnZigbeeNodeUpdateSucceeded",
    "OnZigbeeNodeUpdateFailed",
    "OnZigbeeNodeOnline",
    "OnZigbeeNodeOffline",
    "OnKRTNDeviceStatus",
    "OnKRTNDeviceDiscover",
    "OnAccountInfoUpdated",  // 80
    "OnAccountInfoUpdating",
    "OnBindingEntryAdded",
    "OnBindingEntryRemoved",
    "OnProjectClear",
    "OnSystemShutDown",
    "OnSystemUpdateStarted",
    "OnDevicePreIdentify",
    "OnDeviceIdentifying",
    "OnDeviceCancelIdentify",
    "OnArbiterIPAddressChanged",  // 90
    "OnDeviceDiscovered",
    "OnDeviceUserInitiatedRemove",
    "OnDriverDisabled",
    "OnDiscoveredDeviceAdded",
    "OnDiscoveredDeviceRemoved",
    "OnDiscoveredDeviceChanged",
    "OnDeviceIPAddressChanged",
    "OnCIDRRulesChanged",
    "OnBindingEntryRenamed",
    "OnCodeItemEnabled",  // 100
    "OnCodeItemCommandUpdated",
    "OnSystemUpdateFinished",
    "OnTimeChanged",
    "OnMediaSessionDiscreteMuteChanged",
    "OnMediaSessionMuteStateChanged",
    "OnMediaSessionDiscreteVolumeChanged",
    "OnMediaSessionVolumeLevelChanged",
    "OnMediaSessionMediaInfoChanged",
    "OnMediaSessionVolumeSliderStateChanged",
    "OnScheduledEvent",  // 110
    "OnMediaSessionSliderTargetVolumeReached",
    "OnCodeItemAddedToExpression",
    "OnProjectPropertyChanged",
    "OnEventAdded",
    "OnEventModified",
    "OnEventRemoved",
    "OnZigbeeNetworkHealth",
    "OnZigbeeDuplicateMesh",
    "OnConnectionAuthorized",
    "OnAuthorizedConnectionDisconnected",  // 120
    "OnNetworkBindingAddressChanged",
};

}  // namespace

const char* GetSystemEventName(unsigned int code) {
  const char* name = code < kNames.size() ? kNames[code] : nullptr;
  return name != nullptr ? name : "Unknown";
}

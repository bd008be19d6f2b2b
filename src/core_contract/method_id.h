// The core's method identifiers: what a request asks for, and what a result answers.
#pragma once

#include <cstdint>
#include <map>
#include <string>

// Every identifier once: its name and its value. Each SDK module has a block of one hundred.
// clang-format off
#define ZELK_METHOD_IDS(ROW) \
  ROW(kMethodIDUndefine, 0) \
  ROW(kMethodIDAuthAutoLogin, 101) \
  ROW(kMethodIDAuthLogin, 102) \
  ROW(kMethodIDAuthBind, 103) \
  ROW(kMethodIDAuthGetAuthResult, 104) \
  ROW(kMethodIDAuthSwitchUser, 105) \
  ROW(kMethodIDAuthQueryUserInfo, 106) \
  ROW(kMethodIDAuthLogout, 107) \
  ROW(kMethodIDAuthLoginWithConfirmCode, 108) \
  ROW(kMethodIDAuthWakeUp, 109) \
  ROW(KMethodIDAuthScheme, 110) \
  ROW(kMethodIDAuthResetGuest, 111) \
  ROW(kMethodIDAuthQueryCanBind, 112) \
  ROW(kMethodIDAuthQueryActiveUser, 113) \
  ROW(kMethodIDAuthShowAccountPicker, 114) \
  ROW(kMethodIDAuthCheckActiveUser, 115) \
  ROW(kMethodIDAuthNeedRefreshUser, 116) \
  ROW(kMethodIDAuthRequestVerifyCode, 117) \
  ROW(kMethodIDAuthResetPassword, 118) \
  ROW(kMethodIDAuthModifyAccount, 119) \
  ROW(kMethodIDAuthLoginWithCode, 120) \
  ROW(kMethodIDAuthQueryRegisterStatus, 121) \
  ROW(kMethodIDAuthQueryVerifyCodeStatus, 122) \
  ROW(kMethodIDAuthQueryIsReceiveEmail, 123) \
  ROW(kMethodIDAuthRegister, 124) \
  ROW(kMethodIDAuthModifyProfile, 125) \
  ROW(kMethodIDAuthLoginWithBoundChannel, 126) \
  ROW(kMethodIDAuthBindWithLoggedinChannel, 127) \
  ROW(kMethodIDAuthLoginWithMappedChannel, 128) \
  ROW(kMethodIDAuthBuildMapWithLoggedinChannel, 129) \
  ROW(kMethodIDAuthQueryIDToken, 130) \
  ROW(kMethodIDAuthLoginAfterQueryMap, 131) \
  ROW(kMethodIDAuthUnbind, 132) \
  ROW(kMethodIDAuthQueryUsernameStatus, 133) \
  ROW(kMethodIDAuthQueryDataProtectionAcceptance, 134) \
  ROW(kMethodIDAuthModifyDataProtectionAcceptance, 135) \
  ROW(kMethodIDAuthQueryAccountProfile, 136) \
  ROW(kMethodIDAuthLaunchAccountUI, 137) \
  ROW(kMethodIDAuthQueryLegalDocuments, 138) \
  ROW(kMethodIDAuthModifyLegalDocuments, 139) \
  ROW(kMethodIDAuthQueryBindInfo, 140) \
  ROW(kMethodIDAuthCancelAccountDeletion, 141) \
  ROW(kMethodIDFriendShare, 201) \
  ROW(kMethodIDFriendSendMessage, 202) \
  ROW(kMethodIDFriendQueryFriends, 203) \
  ROW(kMethodIDWebViewURLClose, 301) \
  ROW(kMethodIDWebviewGetEncryptURL, 302) \
  ROW(kMethodIDWebViewJsCall, 303) \
  ROW(kMethodIDWebViewJsShare, 304) \
  ROW(kMethodIDWebViewJsSendMessage, 305) \
  ROW(kMethodIDWebViewToolbarShare, 307) \
  ROW(kMethodIDPushRegister, 401) \
  ROW(kMethodIDPushUnregister, 402) \
  ROW(kMethodIDPushSetTag, 403) \
  ROW(kMethodIDPushDeleteTag, 404) \
  ROW(kMethodIDPushAddLocalNotification, 405) \
  ROW(kMethodIDPushClearLocalNotifications, 406) \
  ROW(kMethodIDPushNotificationCallback, 407) \
  ROW(kMethodIDPushNotificationShow, 408) \
  ROW(kMethodIDPushNotificationClick, 409) \
  ROW(kMethodIDPushSetAccount, 410) \
  ROW(kMethodIDPushDeleteAccount, 411) \
  ROW(kMethodIDPushDeleteLocalNotifications, 412) \
  ROW(kMethodIDNoticeRequestData, 501) \
  ROW(KMethodIDToolsOpenDeepLink, 601) \
  ROW(KMethodIDToolsConvertShortUrl, 602) \
  ROW(kMethodIDToolsLoadCutoutData, 603) \
  ROW(kMethodIDToolsIsAppInstalled, 604) \
  ROW(kMethodIDToolsGetIpByHost, 605) \
  ROW(kMethodIDAnalyticsCrashExtraMessage, 701) \
  ROW(kMethodIDAnalyticsQueryAutoEvent, 702) \
  ROW(kMethodIDAnalyticsQueryDeviceLevel, 703) \
  ROW(kMethodIDAnalyticsRequestTrackingAuthorization, 704) \
  ROW(kMethodIDAnalyticsReportEvent, 706) \
  ROW(kMethodIDAnalyticsReportBinary, 707) \
  ROW(kMethodIDAnalyticsGetInstanceID, 708) \
  ROW(kMethodIDAnalyticsSetDeviceLevel, 709) \
  ROW(kMethodIDAnalyticsGetDeviceLevel, 710) \
  ROW(kMethodIDAnalyticsReportLoginStep, 711) \
  ROW(kMethodIDAnalyticsReportPayStep, 712) \
  ROW(kMethodIDAnalyticsReportCustomEventStep, 713) \
  ROW(kMethodIDAnalyticsGetInstallationID, 714) \
  ROW(kMethodIDAnalyticsPostFrameTimeInSession, 720) \
  ROW(kMethodIDAnalyticsMarkSessionLoad, 721) \
  ROW(kMethodIDAnalyticsSetSessionExtraParam, 722) \
  ROW(kMethodIDAnalyticsReportSessionLoadDuration, 723) \
  ROW(kMethodIDAnalyticsMarkSessionClosed, 724) \
  ROW(kMethodIDAnalyticsPostNetworkLatencyInSession, 725) \
  ROW(kMethodIDAnalyticsRemoveSessionTag, 726) \
  ROW(kMethodIDAnalyticsAddSessionTag, 727) \
  ROW(kMethodIDAnalyticsLogCrashInfo, 730) \
  ROW(kMethodIDAnalyticsSetCrashUserValue, 731) \
  ROW(kMethodIDAnalyticsSetCrashUserId, 732) \
  ROW(kMethodIDAnalyticsReportException, 733) \
  ROW(kMethodIDAnalyticsStartRoute, 734) \
  ROW(kMethodIDAnalyticsStopRoute, 735) \
  ROW(kMethodIDAnalyticsGetUDPRequestConfig, 736) \
  ROW(kMethodIDAnalyticsGetDeviceInfo, 737) \
  ROW(kMethodIDDirQueryTree, 801) \
  ROW(kMethodIDDirQueryNode, 802) \
  ROW(kMethodIDComplianceSetUserProfile, 901) \
  ROW(kMethodIDComplianceQueryUserStatus, 902) \
  ROW(kMethodIDComplianceSetAdulthood, 903) \
  ROW(kMethodIDComplianceSetEUAgreeStatus, 904) \
  ROW(kMethodIDComplianceSendEmail, 905) \
  ROW(kMethodIDComplianceCommitBirthday, 906) \
  ROW(kMethodIDComplianceSetParentCertificateStatus, 907) \
  ROW(kMethodIDComplianceQueryIsEEA, 908) \
  ROW(kMethodIDComplianceVerifyCreditCard, 909) \
  ROW(kMethodIDUpdateStartRepoNewVersionInfo, 1001) \
  ROW(kMethodIDUpdateProgress, 1002) \
  ROW(kMethodIDUpdateResult, 1003) \
  ROW(kMethodIDUpdateOptionalRepoInitResult, 1004) \
  ROW(kMethodIDUpdateContinue, 1005) \
  ROW(kMethodIDUpdateCheckOptionalRepoResult, 1006) \
  ROW(kMethodIDUpdateDownloadOptionalRepoResult, 1007) \
  ROW(kMethodIDUpdateModifyDownloadPriority, 1008) \
  ROW(kMethodIDCustomerLaunchCustomerUI, 1101) \
  ROW(kMethodIDLBSRequestIPInfo, 1201) \
  ROW(kMethodIDExtendInvoke, 1301) \
  ROW(kMethodIDDNSQueryIpByHost, 1401) \
  ROW(kMethodIDApplyPermission, 1601) \
  ROW(kMethodIDFetchDeepLink, 1701) \
  ROW(kMethodIDReceiveDeepLink, 1702) \
  ROW(kMethodIDDoDetectNetwork, 1801) \
  ROW(kMethodIDShowGroupAgreementWindow, 1901) \
  ROW(kMethodIDShowGroupRoom, 1902) \
  ROW(kMethodIDPermissionRequest, 2001) \
  ROW(kMethodIDPermissionCheck, 2002) \
  ROW(kMethodIDPermissionGotoSetting, 2003) \
  ROW(kMethodIDPermissionTrackingRequest, 2004) \
  ROW(kMethodIDPermissionTrackingCheck, 2005)
// clang-format on

namespace zelk {

// What `BaseParams::method_id` holds.
enum MethodID : int32_t {
#define ZELK_ENUMERATOR(name, value) name = (value),
  ZELK_METHOD_IDS(ZELK_ENUMERATOR)
#undef ZELK_ENUMERATOR
};

// The name of every identifier, by its value.
#define ZELK_NAME_ROW(name, value) {name, #name},
static const std::map<int32_t, std::string> kMethodIDNames = {ZELK_METHOD_IDS(ZELK_NAME_ROW)};
#undef ZELK_NAME_ROW

}  // namespace zelk

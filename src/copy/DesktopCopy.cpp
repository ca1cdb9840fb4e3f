#include "copy/DesktopCopy.h"

namespace copy {

constinit const DesktopCopy DesktopCopy::zh{
    .language = OnboardingLanguage::zh,
    .noDisplayServer = u"連不上桌面的顯示伺服器",
    .noScreenCapture = u"這個桌面環境不能擷取螢幕",
    .noWaylandPictures = u"Wayland 桌面還不能截圖",
    .pictureRefused = u"桌面不允許截圖",
    .displayGone = u"這個螢幕已經不在了",
    .pictureUnreadable = u"讀不出這個螢幕的畫面",
    .noMonitor = u"這個喇叭沒有監聽來源",
    .noSoundServer = u"連不上音效伺服器",
    .soundServerSilent = u"音效伺服器沒有回應",
    .lookInSettings = u"這裡沒有能直接打開的設定，請到桌面的設定裡找隱私或音效",
    .stillRecording = u"視窗關了，Brieflet 還在錄音",
    .savesBeforeShutdown = u"關機前把錄音存好",
};

constinit const DesktopCopy DesktopCopy::en{
    .language = OnboardingLanguage::en,
    .noDisplayServer = u"No display can be reached",
    .noScreenCapture = u"This desktop session offers no screen capture",
    .noWaylandPictures = u"Pictures can't be taken on Wayland yet",
    .pictureRefused = u"The desktop did not allow a picture",
    .displayGone = u"The display is no longer there",
    .pictureUnreadable = u"The picture of the display can't be read",
    .noMonitor = u"The loudspeaker has no monitor source",
    .noSoundServer = u"The sound server can't be reached",
    .soundServerSilent = u"The sound server does not answer",
    .lookInSettings = u"No settings page can be opened here. Look for privacy or sound in the settings of your desktop",
    .stillRecording = u"The window is closed, Brieflet is still recording",
    .savesBeforeShutdown = u"Saves the recording before the computer goes down",
};

const DesktopCopy& DesktopCopy::of(OnboardingLanguage wanted) {
    return wanted == OnboardingLanguage::zh ? zh : en;
}

const DesktopCopy& DesktopCopy::current() {
    return of(OnboardingLanguage::current());
}

std::vector<CopyField> DesktopCopy::fields() const {
    return {
        {u"noDisplayServer", noDisplayServer},
        {u"noScreenCapture", noScreenCapture},
        {u"noWaylandPictures", noWaylandPictures},
        {u"noMonitor", noMonitor},
        {u"noSoundServer", noSoundServer},
        {u"soundServerSilent", soundServerSilent},
        {u"lookInSettings", lookInSettings},
        {u"stillRecording", stillRecording},
        {u"savesBeforeShutdown", savesBeforeShutdown},
    };
}

} // namespace copy

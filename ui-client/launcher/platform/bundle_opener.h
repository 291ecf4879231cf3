#pragma once

class QUrl;

// Opening an application bundle through the desktop services starts the application it holds.
// macOS's desktop services do that by themselves; a Linux desktop has no notion of a bundle and
// would only show the folder, so this layer provides it. Each platform provides one
// implementation file; the build picks it.
namespace bundleopener {

// Opens url the way the launcher needs the desktop to: a local application bundle (a folder
// named *.app, or one that holds Contents/MacOS/cloud-ui) is started as a process of its own
// that outlives the caller; any other URL is handed to the desktop unchanged. True when the
// program was started or the URL handed over; every failure is logged. Safe on any thread.
bool OpenUrl(const QUrl& url);

// Routes QDesktopServices::openUrl for local files through OpenUrl. Call once, on the main
// thread, before any thread opens a URL.
void InstallBundleOpener();

} // namespace bundleopener

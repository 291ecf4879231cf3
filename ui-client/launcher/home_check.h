#pragma once

// Whether the launcher may act in the home folder it was given: only when its effective user
// owns it. Started as root with a user's HOME (su without -), it would otherwise signal, as
// root, the pid named in a file that user can write, and start that user's client as root;
// started for a home that is not yours, it would write there. A home that does not exist is
// not ours either: making someone's home folder is no business of the launcher. When the
// answer is no, one line on standard error says why. Reads the environment only, so it can
// run before the application object and before anything is created.
bool HomeBelongsToUs();

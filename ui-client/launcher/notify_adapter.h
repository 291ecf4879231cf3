#pragma once

#include <QObject>
#include <QString>

// Process-wide relay for code that has no reference to the interface (the extractor on the
// worker thread): it re-emits progress and label texts as signals. It belongs to the
// interface thread (its first use is there), so its receivers get queued calls.
class Notify_Adapter : public QObject {
    Q_OBJECT
public:
    // The one adapter, built at the first call; the thread of that call owns it, so make the
    // first call on the interface thread. Never deleted: it lives until the process exits.
    static Notify_Adapter* GetInstance();

    // Both only emit the matching signal, from any thread; they check nothing (a total of 0
    // reaches the receivers as it is).
    void UpdateProgress(int total, int current);
    void UpdateDialogText(QString text);

signals:
    void sigUpdateProgress(int total, int current);
    void sigUpdateDialogText(QString text);

private:
    Notify_Adapter() = default;
};

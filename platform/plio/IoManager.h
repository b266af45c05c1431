// IoManager: the host as a filter sees it. Every operation a filter calls on the host is
// virtual, so a filter built as a separate library calls into whichever host loaded it.
#pragma once
#include "plio/ScanlineReceiver.h"

#include <map>
#include <memory>
#include <string>

namespace plio {

class TrBase;

class IoManager {
public:
    virtual ~IoManager() = default;

    // Option store. `persist` false: the value lives for the host's run only.
    virtual bool GetOption(const std::wstring &name, unsigned int &value, bool persist) const = 0;
    virtual void SetOption(const std::wstring &name, unsigned int value, bool persist) = 0;

    // Look-ups in an option string (syntax in OptionString.h). True when `name` is present with
    // a valid value, which is then stored in `value`; `value` is untouched otherwise.
    virtual bool GetStringOption(const std::wstring &optionString, const std::wstring &name,
                                 unsigned int &value) const;
    virtual bool GetStringOption(const std::wstring &optionString, const std::wstring &name,
                                 bool &value) const;

    // Progress display: started with a text, a message line, the proportion done (0 to 1),
    // ended. `showCancel` offers the user a way to cancel; `modal` blocks other work meanwhile.
    virtual void ProgressStart(const std::wstring &text, bool showCancel, bool modal) = 0;
    virtual void ProgressMessage(const std::wstring &text) = 0;
    virtual void ProgressProportion(double done) = 0;
    virtual void ProgressEnd() = 0;

    virtual void Log(const std::wstring &line) = 0;
    // The window dialogs are owned by; null when the host has none.
    virtual void *GetHostWindow() const { return nullptr; }
    // Opens a help topic; false when the host has no help to show.
    virtual bool ShowHelp(const std::wstring &topic) {
        (void)topic;
        return false;
    }

    // A host that runs without a user interface may answer a filter's dialog itself: it reads
    // and changes the dialog's named values. Unanswered means the dialog must be shown.
    enum class DialogAnswer { Unanswered, Confirmed, Cancelled };
    virtual DialogAnswer AnswerDialog(const std::wstring &dialog,
                                      std::map<std::wstring, unsigned int> &values) {
        (void)dialog, (void)values;
        return DialogAnswer::Unanswered;
    }

    // A receiver for the rows of an image about to be produced.
    virtual std::unique_ptr<ScanlineReceiver> ReceiveScanlines(const ScanlineLayout &layout) = 0;
    // The hand-over of a result; the host takes what it needs during the call.
    virtual void ImportObject(TrBase &object) = 0;

protected:
    IoManager() = default;
    IoManager(const IoManager &) = default;
    IoManager &operator=(const IoManager &) = default;
};

} // namespace plio

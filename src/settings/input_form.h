// InputForm, the value entry dialog: the small modal window in which the user types the one value a text
// settings command sends to the tablet (company name, main menu title or password).
//
// The exchange with the caller goes through two application-wide variables (app/globals.h): the caller
// puts the item's name in strInputItem and empties strInputValue; the dialog words its prompt from the item,
// limits the entry (30 characters; 10 digits for "Password") and on OK hands back the entry without its
// leading and trailing blanks in strInputValue. Cancel, Esc and the close box leave strInputValue empty,
// which the caller takes as a cancel. The dialog is created for each use and destroyed when it is unloaded.
#pragma once

#include "platform/text_box.h"

#include <QDialog>

class QCloseEvent;
class QLabel;
class QLineEdit;
class QPushButton;

// Loads a new InputForm for the current strInputItem and shows it modally (application-modal, owned by the
// active window); returns only once the form has been unloaded, and the form is destroyed by then.
// When the program is ended while the form is open, raises vb::ProgramEnded so the caller runs no further.
void ShowInputForm();

class InputForm : public QDialog {
    Q_OBJECT
public:
    // Builds the window as designed and runs Form_Load, as loading the form does.
    explicit InputForm(QWidget* owner = nullptr);
    ~InputForm() override;

    // Controls, by their given names.
    QLabel* lblPlease = nullptr;
    vb::TextBox* txtResponse = nullptr; // its maximum limits typing and pasting only
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdCancel = nullptr;

    // Handlers, named after their control and event.
    void Form_Load();
    void Form_QueryUnload();
    void cmdOK_Click();
    void cmdCancel_Click();

public slots:
    // The dialog's cancel request (Esc) presses "&Cancel".
    void reject() override;

protected:
    // The close box and the system's close request: the query-unload notice, then the form unloads.
    void closeEvent(QCloseEvent* event) override;

private:
    void CreateControls();
    void WireHandlers();
    // Unloading from code closes the form the way the close box does (and so raises the query-unload
    // notice too); the form is destroyed afterwards.
    void Unload();
};

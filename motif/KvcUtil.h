#pragma once

#include <X11/Intrinsic.h>
#include <dirent.h>

#include <string>

#include "support/KvTypes.h"

/// Common Motif tasks as single calls: messages to the user, values of widgets, lists of files.
/// Texts are plain text; a newline is a line break.

// Messages. All of them use one box. A message consists of up to four pieces; null ones are left
// out. The box's text and the answer are also printed on standard output. A message takes the
// keyboard focus when it appears.

extern Widget kvcTopLevelWidget;     ///< parent of the box; null until KvcInit
extern XtAppContext* kvcAppContext;  ///< its events are handled while a question is open
extern Widget kvcMessageWidget;      ///< the box; null until the first message
extern int kvcMessageReturnVal;      ///< answer of the open question; -1: none yet, -2: closed

/// Call this once, before the first message. The pointer `appContext` is kept.
void KvcInit(Widget topLevel, XtAppContext* appContext);

/// Sets the window on which messages are centred and above which they stay. With null (the
/// default), and while the window is not on the screen, they appear in the centre of the screen;
/// but the first message waits up to two seconds for a window that is just coming up. The widget is
/// kept: set another one before it is destroyed.
void KvcSetMessagesOver(Widget window);

/// Gives the title of a window that belongs to a program started by this one and may appear late.
/// If it appears while a message is shown, it stays below and the message keeps the keyboard focus.
/// Null, the default, means no window. The text is kept, not copied.
void KvcKeepBelowMessages(const char* title);

/// Shows an information message and returns at once. If the user has not closed the previous
/// message, the box shows both, one below the other, and is an error box if either is an error. If
/// the texts don't fit on the screen, the oldest are left out. With `showDialog` 0, or while a
/// question is open, the text goes to standard error instead. Returns 1; 0 before KvcInit.
int KvcUserInfo(const char* s1, const char* s2 = nullptr, const char* s3 = nullptr,
                const char* s4 = nullptr, int showDialog = 1);

/// The same for an error. Returns 0, which a failing operation can pass on as its own result; but 1
/// when the text went to standard error.
int KvcUserError(const char* s1, const char* s2 = nullptr, const char* s3 = nullptr,
                 const char* s4 = nullptr, int showDialog = 1);

/// Asks a question with `n` buttons, 2 or 3, and waits for the answer. A message that is still
/// shown must be closed by the user first. Meanwhile no other widget of the program gets input;
/// windows are redrawn and timers run. Returns the index of the button; -1 when the user closes the
/// box, with Escape for example, or while another question is open (the second one is then not
/// shown); 0 before KvcInit.
int KvcUserConfirm(int n, const char* const* labels, const char* s1, const char* s2 = nullptr,
                   const char* s3 = nullptr, const char* s4 = nullptr);

/// Discards pending clicks and keys that were not meant for a message. Call it after commands
/// during which the program did not respond. Does nothing while a question is open.
void KvcDropInput();

/// Waits until the user has closed the message that is shown, if there is one. Call it before
/// opening a window that would cover the message. Does nothing while a question is open.
void KvcWaitUntilRead();

/// 1 while a question waits for its answer, or anything waits for a message to be closed. Handlers
/// of window manager requests must then refuse them, since such requests bypass the question's
/// grab.
int KvcQuestionOpen();

/// The text as the toolkit can show it: a byte that is not valid in the locale becomes '?'.
[[nodiscard]] std::string KvcReadable(const std::string& text);

/// Callback of the box: stores `clientData` as the answer and hides the box.
void KvcConfirmCB(Widget box, XtPointer clientData, XtPointer callData);

/// Handles all pending events and flushes the output to the display of `w`.
void KvcFlushEvents(Widget w, XtAppContext app);

/// Asks the X server to save the contents of the window of `shell` (backing store), so that it
/// stays drawn while the program is busy. Does nothing before `shell` is realized.
void KvcKeepDrawn(Widget shell);

/// The protocol by which a window manager asks a shell to close.
[[nodiscard]] Atom KvcCloseProtocol(Display* display);

// Values of widgets. A null text counts as an empty one. Sliders, number fields, radio groups and
// option menus serve the suite's other programs; the installer uses labels and sensitivity.

void KvcLabelSetString(Widget label, const char* text);

/// The label's text, to be freed with XtFree.
[[nodiscard]] char* KvcLabelGetString(Widget label);

/// Sets the text, and a font that depends on its length: large and bold below `shortLength` bytes,
/// smaller below `mediumLength`, else small. The font is loaded on the display of `ref`; if that
/// has no such font, "fixed" is used.
void KvcLabelSetStringAndResize(Widget label, Widget ref, const char* text, int shortLength,
                                int mediumLength);

/// Widens a label that is too narrow for its text, to at most `room` pixels. Returns 1 when the
/// text fits, 0 when part of it is still cut off.
int KvcFitLabel(Widget label, int room);

/// Stores the text of a selection box or file selection box, at most 1023 bytes of it.
void KvcWidgetGetTextString(Widget w, KvText& out);

/// The number in the field; 0 when there is none.
[[nodiscard]] KvFloat KvcGetTextValue(Widget textField);

/// Sets the scale, to its nearest limit if `value` is out of its range.
void KvcSliderSetValue(Widget scale, int value);

/// Sets the scale and the field; either may be null. The value is not limited: if it is out of the
/// scale's range, Motif warns and leaves the scale alone.
void KvcSliderSetValue(Widget scale, Widget text, int value);

/// With `fromScale`, copies the scale's value to the field. Otherwise copies the field's value to
/// the scale, limited to its range, and shows the limited value in the field too. Returns the
/// value.
int KvcSliderGetValue(Widget scale, Widget text, int fromScale);

/// The same for a decimal number, which the scale holds multiplied by `factor`. The field shows
/// three decimals, and is not changed when the value comes from it.
void KvcSliderGetFloatValue(Widget scale, Widget text, int factor, int fromScale);

/// Switches toggle number `which` on and the others off, without their callbacks. Null toggles are
/// skipped.
void KvcSetRadio(int which, Widget t0, Widget t1 = nullptr, Widget t2 = nullptr,
                 Widget t3 = nullptr, Widget t4 = nullptr, Widget t5 = nullptr, Widget t6 = nullptr,
                 Widget t7 = nullptr, Widget t8 = nullptr, Widget t9 = nullptr);

/// Makes button number `which` the option menu's choice. Does nothing if that button is null.
void KvcSetOption(int which, Widget optionMenu, Widget b0, Widget b1 = nullptr, Widget b2 = nullptr,
                  Widget b3 = nullptr, Widget b4 = nullptr, Widget b5 = nullptr,
                  Widget b6 = nullptr, Widget b7 = nullptr, Widget b8 = nullptr,
                  Widget b9 = nullptr);

void KvcSetSensitive(Widget w, int sensitive);

// Lists of files, for the suite's other programs. Names that begin with "#" are left out; with an
// extension, so are names that don't end with it or consist of nothing else.

/// Fills `w`, a list or (with `isList` 0) a selection box, with the files of `dir` in alphabetical
/// order, without their extension unless `keepExt`. If `select` is given, that item is selected and
/// its callbacks run. Returns 1; 0 when there is no file, `dir` can't be read, or the selection box
/// has no list.
int KvcListFiles(Widget w, const char* dir, const char* ext, int keepExt, int isList,
                 const char* select);

/// Iterates over the files of a directory. A call with `dir` starts and returns null; each call
/// with a null `dir` returns the next name, valid until the next call, or null at the end. Starting
/// again ends the previous iteration; KvcListFiles does not disturb it.
const char* KvcGetDirectoryList(const char* dir, const char* ext, int keepExt);

/// The entries of `dir` that match the extension last passed to KvcListFiles or
/// KvcGetDirectoryList, as from KvuSystem::scandir.
int KvcGetListFiles(const char* dir, struct dirent*** list);

/// Replaces the items of `list`. Items equal to `select` are selected, without callbacks.
void KvcListItems(Widget list, const char* const* items, int n, const char* select);

/// Adds `name` at `position` (1 is the top, 0 the end) and, if `select`, selects it without
/// callbacks. Returns `position`, or the number of items if that is 0.
int KvcListNamesCB(void* list, const char* name, int select, int position);

/// Selects (without callbacks) or deselects `name`. Returns the number of selected items.
int KvcSelectNamesCB(void* list, const char* name, int select, int position);

/// Makes a file selection box, unmanaged, with an OK button and without Cancel and Help.
[[nodiscard]] Widget KvcCreateSimpleFileSelector(Widget parent, const char* name,
                                                 void (*okCallback)(Widget, void*, void*),
                                                 void* clientData);

/// Shows the files of `dir` in the box.
void KvcFileSelectorSetDirectory(Widget box, const char* dir);

/// Reads the box's directory again.
void KvcFileSelectorUpdate(Widget box);

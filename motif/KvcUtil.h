#pragma once

#include <X11/Intrinsic.h>
#include <dirent.h>

#include <string>

#include "support/KvTypes.h"

/// Motif in single calls: messages to the user, values of widgets, lists of files.
/// Texts are plain text; a newline is a line break.

// Messages. One box serves them all; a message is made of up to four pieces, null ones left out.
// What the box shows, and how it is answered, is printed on standard output as well. A message that
// comes up has the keyboard, whatever had it before.

extern Widget kvcTopLevelWidget;     ///< parent of the box; null until KvcInit
extern XtAppContext* kvcAppContext;  ///< whose events a question waits for
extern Widget kvcMessageWidget;      ///< the box; null until the first message
extern int kvcMessageReturnVal;      ///< answer of the open question; -1: none yet, -2: closed

/// To be called once, before the first message. `appContext` is kept, not copied.
void KvcInit(Widget topLevel, XtAppContext* appContext);

/// Names the window over which messages come up, centred, and which they stay above. With null (as
/// at the start) and while it is not on the screen they come up in the screen's centre; but the
/// first of them waits up to two seconds for a window that is just coming up. The widget is kept:
/// name another one before it is destroyed.
void KvcSetMessagesOver(Widget window);

/// Names, by its title, a window of another program that this one starts and that may be late: if
/// it comes up while a message is shown it stays below, and leaves the message the keyboard. Null:
/// none, as at the start. The text is kept, not copied.
void KvcKeepBelowMessages(const char* title);

/// Shows an information and returns at once. While the user has not closed the message before it,
/// both stand in the box, one below the other, and it is an error's box if one of them is an error.
/// Of what is too much for the screen the oldest texts are left out. With `showDialog` 0, and while
/// a question is open, the text goes to standard error instead. 1; 0 before KvcInit.
int KvcUserInfo(const char* s1, const char* s2 = nullptr, const char* s3 = nullptr,
                const char* s4 = nullptr, int showDialog = 1);

/// The same for an error. 0 (so that an operation can end with it), but 1 when the text went to
/// standard error.
int KvcUserError(const char* s1, const char* s2 = nullptr, const char* s3 = nullptr,
                 const char* s4 = nullptr, int showDialog = 1);

/// Asks a question with `n` buttons, 2 or 3, and waits for the answer: the index of the button.
/// A message that is still shown has to be closed by the user first. Meanwhile no other widget of
/// the program gets input; windows are redrawn and timers run. -1, none of the buttons, when the
/// box is closed, be it with Escape, and while another question is open (the second one is not
/// shown). 0 before KvcInit.
int KvcUserConfirm(int n, const char* const* labels, const char* s1, const char* s2 = nullptr,
                   const char* s3 = nullptr, const char* s4 = nullptr);

/// Drops the clicks and keys that have arrived and were not meant for a message: to be called after
/// commands during which the program did not answer. Nothing happens while a question is open.
void KvcDropInput();

/// Returns when the user has closed the message that is shown, if there is one: to be called before
/// a window comes up that would cover it. Nothing happens while a question is open.
void KvcWaitUntilRead();

/// 1 while a question waits for its answer or for the message before it: who handles a window
/// manager's request then must refuse it, as such requests bypass the question's hold on the input.
int KvcQuestionOpen();

/// The text as the toolkit can show it: a byte that is no character of the locale becomes '?'.
[[nodiscard]] std::string KvcReadable(const std::string& text);

/// Callback of the box: takes `clientData` for the answer and hides the box.
void KvcConfirmCB(Widget box, XtPointer clientData, XtPointer callData);

/// Handles all events that have arrived and sends what is waiting to the display of `w`.
void KvcFlushEvents(Widget w, XtAppContext app);

/// Asks the X server to keep what the window of `shell` shows, so that it stays whole while the
/// program is busy. Nothing happens before `shell` is realized.
void KvcKeepDrawn(Widget shell);

/// The protocol by which a window manager asks a shell to close.
[[nodiscard]] Atom KvcCloseProtocol(Display* display);

// Values of widgets. A null text counts as an empty one.

void KvcLabelSetString(Widget label, const char* text);

/// The label's text, to be freed with XtFree.
[[nodiscard]] char* KvcLabelGetString(Widget label);

/// Sets the text and a font for its length: large and bold below `shortLength` bytes, smaller
/// below `mediumLength`, else small. The font comes from the display of `ref`; when there is
/// none, it stays.
void KvcLabelSetStringAndResize(Widget label, Widget ref, const char* text, int shortLength,
                                int mediumLength);

/// Makes a label that is too narrow for its text wider, up to `room` pixels. Returns 1 when the
/// text fits, 0 when part of it is out of sight even so.
int KvcFitLabel(Widget label, int room);

/// Text of a selection box or file selection box, at most 1023 bytes of it.
void KvcWidgetGetTextString(Widget w, KvText& out);

/// The number in the field; 0 when there is none.
[[nodiscard]] KvFloat KvcGetTextValue(Widget textField);

/// Sets the scale to the nearest value that it allows.
void KvcSliderSetValue(Widget scale, int value);

/// Sets the scale and the field, each unless it is null. The value is not limited: Motif leaves
/// the scale alone, with a warning, when it is out of the scale's range.
void KvcSliderSetValue(Widget scale, Widget text, int value);

/// With `fromScale` copies the scale's value to the field, else the field's to the scale, limited
/// to the scale's range and then shown in the field as well. Returns the value.
int KvcSliderGetValue(Widget scale, Widget text, int fromScale);

/// The same for a scale that holds a decimal number times `factor`; the field shows three
/// decimals and is not rewritten when it is read.
void KvcSliderGetFloatValue(Widget scale, Widget text, int factor, int fromScale);

/// Switches toggle number `which` on and the others off, without their callbacks. Null: skipped.
void KvcSetRadio(int which, Widget t0, Widget t1 = nullptr, Widget t2 = nullptr,
                 Widget t3 = nullptr, Widget t4 = nullptr, Widget t5 = nullptr, Widget t6 = nullptr,
                 Widget t7 = nullptr, Widget t8 = nullptr, Widget t9 = nullptr);

/// Makes button number `which` the choice that the option menu shows. Null: nothing happens.
void KvcSetOption(int which, Widget optionMenu, Widget b0, Widget b1 = nullptr, Widget b2 = nullptr,
                  Widget b3 = nullptr, Widget b4 = nullptr, Widget b5 = nullptr,
                  Widget b6 = nullptr, Widget b7 = nullptr, Widget b8 = nullptr,
                  Widget b9 = nullptr);

void KvcSetSensitive(Widget w, int sensitive);

// Lists of files. Names that begin with "#" are left out; with an extension only the names that
// end with it and are longer.

/// Fills `w`, a list or (with `isList` 0) a selection box, with the files of `dir` in alphabetical
/// order, their extension cut off unless `keepExt`. `select`, if given, is selected with callbacks.
/// 1; 0 when there is no file, `dir` can't be read, or the selection box has no list.
int KvcListFiles(Widget w, const char* dir, const char* ext, int keepExt, int isList,
                 const char* select);

/// Walks over the files of a directory: with `dir` starts (null comes back), then with `dir` null
/// gives the next name, valid until the next call, or null at the end. A walk that is started
/// ends the one before it; filling a list leaves it alone.
const char* KvcGetDirectoryList(const char* dir, const char* ext, int keepExt);

/// The entries of `dir` that fit the extension last used above, as KvuSystem::scandir gives them.
int KvcGetListFiles(const char* dir, struct dirent*** list);

/// Replaces the items of `list`. Items that equal `select` are selected, without callbacks.
void KvcListItems(Widget list, const char* const* items, int n, const char* select);

/// Adds `name` at `position` (1 is the top, 0 the end) and selects it if `select`, without
/// callbacks. Returns `position`, for 0 the number of items.
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

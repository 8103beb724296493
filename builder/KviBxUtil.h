#pragma once

#include <X11/Intrinsic.h>
#include <Xm/Xm.h>

#include <string>

/// What a generated widget tree needs at run time: resource values from text, and a handful of
/// small tools around widgets. Xt's thread only; not reentrant.

// Resource values from text

/// Teaches `app` to convert text to XmString and to XmStringTable, in place of the toolkit's own
/// converters. To be called before the first widget that has such a resource is created.
///
/// Plain text becomes a compound string in which a newline is a line break. Text that begins with
/// "::" is a sequence of segments, each `#tag`, `:options` and `"text"`, the first two optional
/// and in either order. Options are t or f (a line break after the text, or none), then :r or :l
/// (direction); defaults are no break, left to right. A backslash escapes; \n \t \r \f \v are
/// characters of the text. Example: `:::t"first line""second line"`.
/// A table's entries are separated by commas or newlines outside double quotes.
/// Bytes that are no text of the locale are kept as they are.
void RegisterBxConverters(XtAppContext app);

/// Converts `text` to the type `toType` for `w` and returns it as an Arg's value; `size` is unused.
/// `*ok` tells whether it succeeded; else the result is 0 and the toolkit has warned.
/// An XmString or XmStringTable is new and the caller's (free it once a widget has copied it).
/// For "String", "Double" and "Float", and for a value wider than an XtArgVal, the result is the
/// address of the value, good until the next conversion. A font list is scaled, and looked up by
/// BxFontFor.
XtArgVal CONVERT(Widget w, const char* text, const char* toType, int size, Boolean* ok);

/// The compound string that the segments in `text` describe ("::" left out). It is the caller's
/// to free; null for null.
[[nodiscard]] XmString StringToXmString(const char* text);

/// The font to load for `pattern`: of the display's matches the one of normal width for 75 dpi,
/// which layouts in pixels were drawn for, else `pattern` itself; "fixed" when nothing matches.
[[nodiscard]] std::string BxFontFor(Display* display, const char* pattern);

/// How many times as large as they were drawn the program shows its windows on this display: its
/// resource "scale", a whole number from 1 to 4, else 1.
[[nodiscard]] int BxScale(Display* display);

/// The pattern of a font that is as much larger: with its sizes, in pixels or tenths of points,
/// multiplied.
[[nodiscard]] std::string BxScaledFont(Display* display, std::string pattern);

// Pixmaps and colours

/// A pixmap of the XPM image `data`; transparent pixels are not masked. The caller's to free.
/// On failure warns "Could not create pixmap." and returns XmUNSPECIFIED_PIXMAP.
Pixmap XPM_PIXMAP(Widget w, const char* const* data);

/// Appends `background` to `args`, before it the colours that Motif derives from it, as far as
/// `args` does not set them yet: top and bottom shadow, arm colour, foreground.
/// Returns the index of the background. REQUIRES: room for five more entries.
int SET_BACKGROUND_COLOR(Widget w, Arg* args, Cardinal* count, Pixel background);

// Widgets

/// The root of the tree that `w` is in.
[[nodiscard]] Widget BxFindTopShell(Widget w);

/// The widgets that `names`, "a, b" or "[a, b]", stand for: each is looked for below `w`, then
/// below its parent and so on. A name that is not found is reported on standard output and left
/// out. The array ends with null; free it with XtFree.
[[nodiscard]] WidgetList BxWidgetIdsFromNames(Widget w, const char* callbackName,
                                              const char* names);

/// Event handler for button presses: posts the popup menu `menu` when its button was pressed.
void MENU_POST(Widget w, XtPointer menu, XEvent* event, Boolean* continueFlag);

/// A new cell that holds the value; free it with XtFree.
[[nodiscard]] float* SINGLE(float value);
[[nodiscard]] double* DOUBLE(double value);

// Application defaults

/// One default: the value of `resource` for `childName` in `widgetName` in `rootName`.
/// A record whose `widgetName` is null ends a table.
struct UIAppDefault {
    const char* rootName;
    const char* widgetName;  ///< may be empty
    const char* childName;   ///< null: none
    const char* resource;
    char* value;  ///< null: none; else allocated by malloc, owned by the table's owner
};

/// Adds each of `lines` (null ends them) as "*<path><line>" to the resources of the display of
/// `w`. What the display has already wins, here and in SetAppDefaults.
void setDefaultResources(const char* path, Widget w, const char* const* lines);

/// Fills `value` of each record that the display's resources have an entry for.
void InitAppDefaults(Widget w, UIAppDefault* table);

/// Adds the values of `table` to the display's resources, for the instance `instanceName` below
/// `w`. Nothing happens when `instanceName` is null.
void SetAppDefaults(Widget w, const UIAppDefault* table, const char* instanceName);

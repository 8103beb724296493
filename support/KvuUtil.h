#pragma once

#include "support/KvTypes.h"

/// The identity of the product that a program belongs to, and messages for code without widgets:
/// an external confirmation program shows them and writes the label of the pressed button to the
/// file "/usr/tmp/.zarnUserConfirm". The calls block until the user has answered. The messages
/// serve the suite's other programs; the installer's own are in motif/KvcUtil.h.
///
/// For up to three buttons the program is "bin/KvConfirm" in the directory named by ZARNHOME; if
/// there is none, or there are more buttons, it is `xconfirm` on the search path. The answer file
/// is used only if it is safe (see `platform::prepareTemporary`). Where "/usr/tmp" does not exist
/// and this user can't create it, the answer goes to a file in a private folder below "/tmp".
class KvuUtil {
public:
    KvuUtil() = delete;

    // Empty until initClass.
    static KvText _productName;
    static KvText _productDescription;
    static KvText _productVersion;  ///< major and minor version, joined directly
    static KvText _productMajorVersion;
    static KvText _productMinorVersion;
    static KvText _productCopyright;
    static KvText _productResourceName;

    /// Copies the texts into the members above, each cut to 1023 characters; a null one leaves its
    /// member empty. A null `resourceName` means `name`.
    static void initClass(const char* name, const char* description, const char* majorVersion,
                          const char* minorVersion, const char* copyright,
                          const char* resourceName);

    /// Shows an information message with the one button "Continue". Returns 1.
    static int userInfo(const char* message);

    /// Shows an error with the one button "Continue". Returns 0.
    static int userError(const char* message);

    /// Shows `message` (lines separated by newlines) under `title`, with `n` buttons, one for each
    /// label. A null `title` means "Please confirm..." and the question icon. With a title, the
    /// icon is the previous message's (at first the question icon). `KvConfirm` labels a single
    /// button "Continue", whatever its label. For `xconfirm` the message is cut, and then ends with
    /// "...", if its arguments would exceed 1023 characters.
    ///
    /// Returns 1 when `n` is 1, and 0 when `n` is below 1; otherwise the index of the first label
    /// that the answer begins with, or `n` if there is none. Without a usable answer file it asks
    /// nothing and says so on standard error; a message with one button is then written there and
    /// returns 1, anything else returns 0. An answer file that can't be read gives the same note
    /// and 0.
    static int userConfirm(int n, const char* const* labels, const char* message,
                           const char* title);
};

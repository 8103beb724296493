#pragma once

#include <X11/Intrinsic.h>

#include <string>

#include "support/KvTypes.h"

/// The installation engine. Every operation works on one state, `_info` and the two tables of the
/// catalogue, and on the widgets of the installer's window, which exist before `start` runs.
/// Results are 1 for success and 0 for failure or refusal; a failure has been reported to the user
/// when 0 comes back. Texts handed in are only read during the call.

/// A row of the table of optional subsystems.
struct KvmInstallSubsystemRow {
    Widget (*getWidget)();  ///< its toggle
    const char* label;
    const char* directory;  ///< its name inside the folder "subsystems"
    float sizeMB;
    int installed;      ///< 1: present in the installed tree
    int selected;       ///< 1: wanted, the toggle is on
    int offForProduct;  ///< mask of the edition that comes without it, 0 for none
};

/// A row of the table of editions.
struct KvmInstallProductRow {
    Widget (*getWidget)();  ///< its toggle
    const char* code;       ///< three letters
    const char* program;    ///< name of its start command
    int mask;               ///< one bit
};

/// The media, by their index.
enum KvmMedium { KvmLocalTape, KvmRemoteTape, KvmTarFile, KvmCdRom };

enum class KvmExtraction;
struct KvmPlan;

/// A row of the table of media.
struct KvmInstallMediumRow {
    Widget (*getWidget)();                    ///< its toggle
    const char* option;                       ///< chooses it on the command line; null: none does
    std::string (*defaultText)();             ///< may tell the user why it is empty
    const char* error;                        ///< what the user is told when extraction fails
    KvmExtraction (*extract)(KvmPlan& plan);  ///< the way to extract from it
};

extern KvmInstallSubsystemRow KvmInstallSubsystem[10];
extern const KvmInstallProductRow KvmInstallProduct[4];
extern const KvmInstallMediumRow KvmInstallMedium[4];

/// Default texts of the two tape media.
extern const char* const KvmInstallReadFrom[2];

/// The status text now shown.
extern KvText KvInstallInfoMsg;

/// The engine's state.
struct KvmInstallInfo {
    int installed;               ///< 1: the suite is installed in `path`
    int installedInThisSession;  ///< 1: a first installation was made by this process
    int product;                 ///< row of the edition, 0 to 3
    KvText version;              ///< of the installed suite
    KvText date;                 ///< of its installation
    KvText path;                 ///< install location: the directory that holds Zarn_system
    KvText readText;             ///< device, archive names, or CD-ROM directory
    KvText installHostname;      ///< host it was installed on
    int readFrom;                ///< medium: a KvmMedium
    KvText startDir;             ///< where the installer and its archives lie
    int productChanged;          ///< 1: another edition was chosen while installed
    int subsystemsAdded;         ///< 1: a subsystem was marked for installation while installed
    int subsystemsRemoved;       ///< 1: a subsystem was marked for removal while installed
};

class KvmInstallMgr {
public:
    KvmInstallMgr() = delete;

    static KvText _progName;
    static KvmInstallInfo _info;
    static KvText _infoFile;  ///< path of the installation record in use
    static int _isRoot;       ///< 1 once the process is known to run as super-user

    // Catalogue

    /// Marks the subsystem of `toggle` as wanted (`on` 1) or not, shows the mark, and recomputes
    /// the disk space. Returns what initDiskSpace does.
    static int setSubsystem(Widget toggle, int on);
    /// Takes the edition over from its toggles, switches on the subsystems that go with it, and
    /// recomputes the disk space. Returns what initDiskSpace does.
    static int setProduct();
    /// Mask of the first edition whose toggle is set; 8 when none is.
    static int getProduct();
    /// Sets the edition toggles from the state, without running their callbacks.
    static void setProductUI();
    /// Program and code of the current edition; of the edition with that code or program, "Zarn"
    /// when there is none.
    static const char* getProductName();
    static const char* getProductCode();
    static const char* getProductName(const char* code);
    static const char* getProductCode(const char* program);

    // Installation record

    /// Finds out whether this is the super-user and chooses the record that goes with that:
    /// "/usr/lib/.Zarn_inst", or ".Zarn_inst" in the home directory. Returns `_isRoot`.
    static int checkIfRoot();
    /// Reads the record into the state and the toggles; 1 when the suite is installed. A record
    /// that names a location without the suite is deleted, and the user told.
    static int getInstallInfo();
    /// Goes over to the record inside the installed tree `location` and shows it. When there is
    /// none, or it speaks of a tree elsewhere, the user is told, the record stays and the state is
    /// what it was.
    static int setInstallInfo(const char* location);
    /// Whether the suite is installed. Any widget will do: the answer is the same.
    static int isInstalled(Widget w);
    static int installedInThisSession();
    /// 1 when this host is, to the letter, the one that the suite was installed on.
    static int isRunningOnServer();
    static char* getPath();
    static char* getInstallHostname();

    // Session

    /// Starts the session: chooses and reads the record, fills the window.
    /// REQUIRES: the window, and KvcInit. `argv[0]` is the program's name.
    static int start(int argc, char** argv);
    /// Sets the state to that of a machine without the suite; always 1.
    static int initInfo();
    /// Brings the window up to date with the state.
    static void init();
    /// Shows required and available space, in millions of bytes. 0 when a first installation
    /// would not fit, the equal amount included; 1 otherwise, and always while installed.
    static int initDiskSpace();
    /// Shows the pieces joined (nulls are skipped) in `label`, on the screen before it returns,
    /// and prints a text that was not shown already. A null label: nothing.
    static void info(Widget label, const char* a, const char* b = nullptr, const char* c = nullptr,
                     const char* d = nullptr);
    /// Makes `location` the place of the next first installation: the suite counts as not
    /// installed there. Refused (0, nothing changed): a place that isValidInstallPath refuses, and
    /// one that the record could not hold, which is empty, too long, or has blanks in it.
    static int setLocation(const char* location);
    /// 0, and an error, when `location` holds the suite already.
    static int isValidInstallPath(const char* location);
    /// Ends the process with status 0.
    [[noreturn]] static void close();

    // Media and extraction

    /// Chooses the medium (0 to 3; other numbers change nothing) and its default text.
    static void setReadFrom(int index);
    static int getReadFrom();
    /// Takes over the medium's text as the user typed it; a text too long for its buffer is
    /// refused with an error and changes nothing.
    static void setReadText(const char* text);
    /// One extraction from `source` (device, archive, or CD-ROM directory) into the install
    /// location, which is the working directory. `finalPass` is 1 for the only or last one, which
    /// places the subsystems. 0 also when the user declined, or nothing new was marked.
    static int copyInstall(const char* source, int finalPass);
    /// Unpacks the compressed `archive` beside itself; `out` is the name without its extension.
    static int uncompress(const char* archive, KvText& out);
    static int compress(const char* file);

    // Installation

    /// Installs the suite, or adds the marked subsystems to it. 1 when something was installed.
    static int install();

    // Removal

    /// Asks what to remove, and removes it. 1 when something was done.
    static int remove();
    /// Removes the subsystems that are switched off, each after a question; always 1.
    static int removeSubsystems();
    /// Removes the record, the product tree and the start commands. Refused while the product
    /// runs; 0 also when record or tree could not be removed.
    static int removeAll();

    // After the installation

    /// Links the edition's start command into the directory of the icon dialog's field.
    static int installIcon_icon();
    /// Asks for, and installs, the desktop icons.
    static int installDesktop();
    /// Offers the download of the free translators, unless they are there.
    static int installTranslators();
    /// Fills the icon dialog's list with the machine's users, system accounts left out.
    static int listUsers();
    /// Puts the home directory of user `name` into the icon dialog's field.
    static int selectUser(const char* name);
    /// Home directory of user `name`, in a buffer that the next call overwrites; null when the
    /// password file does not tell it.
    static char* getHomeDir(const char* name);
    /// Starts the product from the home directory, in the background.
    static int runApp();
};

/// Fills `host` with this host's name, or "unknown".
void getHostName(KvText& host);

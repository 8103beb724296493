#pragma once

#include <string>
#include <vector>

#include "engine/archives.h"
#include "engine/catalogue.h"

/// The outcome of an extraction: a command failed, so that whatever was extracted does not count;
/// the user said no; some of the wanted subsystems were extracted; all of them were.
enum class KvmExtraction { failed, declined, part, all };

/// What the checks before an installation found out, for the steps that follow.
struct KvmPlan {
    bool adding = false;               ///< to an installed suite
    std::string place;                 ///< the install location, absolute
    bool makePlace = false;            ///< it does not exist yet
    std::string source;                ///< the medium's text
    std::vector<KvmArchive> archives;  ///< of the tar-file medium
    KvmRows wanted;                    ///< subsystems to extract, in the order of their table
    bool allArchives = true;           ///< no archive that the user named is missing
    bool startAgain = false;           ///< first remove what an unfinished installation left
    bool complete = false;             ///< everything is extracted already: only finish
};

/// The wanted subsystems whose directories are in `folder`, which is read once.
KvmRows KvmWantedIn(const KvmPlan& plan, const std::string& folder);

/// Extraction from the media. REQUIRES: the working directory is the plan's place.
KvmExtraction KvmExtractFromTape(KvmPlan& plan);
KvmExtraction KvmExtractFromArchives(KvmPlan& plan);
KvmExtraction KvmCopyFromCdRom(KvmPlan& plan);

/// Tells the user which of the wanted subsystems were added, and which stay marked.
void KvmReportAdded(const KvmPlan& plan);

/// After a first installation, tells the user which wanted subsystems were not on the medium.
void KvmReportMissing(const KvmPlan& plan);

/// Moves the extracted subsystems into the product tree; false after an error. Subsystems that are
/// in the tree already stay there.
bool KvmPlaceExtracted(const KvmPlan& plan);

/// Removes the subsystems that a failed or declined extraction left, also from the tree if they
/// came from a CD-ROM.
void KvmDropExtracted(const KvmPlan& plan);

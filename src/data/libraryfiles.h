#pragma once

#include <QString>

// The library file Folivo.db and the two images a restore keeps in Temp/ while it works:
// Tmp_new.dat, the verified image that is to become the library, and Tmp_old.dat, the library
// as it was. The library file is never absent: the old one is kept (a hard link, or a copy
// flushed to the disk) before the new one is renamed over it in one step, and every opening of
// the library first finishes or undoes a restore that was interrupted.
namespace LibraryFiles {

QString libraryPath(const QString &dataDir);       // Folivo.db
QString restoredImagePath(const QString &dataDir); // Temp/Tmp_new.dat
QString previousImagePath(const QString &dataDir); // Temp/Tmp_old.dat
// Temp/Tmp_copy.dat: a library file being made from another library (a copy from a server); it is
// never taken for a restored image, and what a cut-off copy left is removed like a restore's.
QString copiedImagePath(const QString &dataDir);
// Temp/Tmp_snap.dat: the library file a backup of a server library is taken from.
QString snapshotImagePath(const QString &dataDir);

enum class Recovery
{
    Nothing,         // the library is where it belongs
    PutBackPrevious, // Folivo.db was missing; the library as it was before the restore is back
    FinishedRestore, // Folivo.db was missing; the verified restored image took its place
    Failed           // Folivo.db was missing and could not be put back (see the detail)
};

// Finds a restore that was cut off (by a kill, a power cut, an older version of the program)
// and puts a library back in place. Call with the data directory locked, before the library is
// opened. The notice for the user is set when something was done.
Recovery recoverInterruptedRestore(const QString &dataDir, QString *notice, QString *detail = nullptr);

// Removes what a restore leaves in Temp/ once the library is safely open again (the images, the
// half-written temporary files of a cut-off restore). The library itself is never touched.
void removeRestoreLeftovers(const QString &dataDir);

// Replaces Folivo.db with the verified image at imagePath, the database being closed and the
// directory locked: the old library is kept as Temp/Tmp_old.dat first, a journal left beside it is
// removed (it belongs to the old file and would be played back into the new one), and the image is
// renamed over the library in one step, keeping the mode (and the target of a symbolic link) of
// the file that was there. When Temp lies on another file system the image is first copied beside
// the library. The image is consumed. False, with the system's reason, when the library could not
// be replaced; it is then as it was.
bool replaceLibrary(const QString &dataDir, const QString &imagePath, QString *detail);

} // namespace LibraryFiles

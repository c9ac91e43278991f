#pragma once

// Every sentence the core gives as the reason something failed, in the
// words the user sees: one short line, the same for the same file whatever
// else runs at the time. The command line and the panel print them as
// they stand.
namespace quorlen::text::failure {

// Reading a file.
inline constexpr const char* kNotFound = "File not found";
inline constexpr const char* kPermissionDenied = "Permission denied";
inline constexpr const char* kNotRegular = "Not a regular file";
inline constexpr const char* kNotAudio = "Not an audio file";
inline constexpr const char* kNoAudio = "The file has no audio";
inline constexpr const char* kUnsupportedRate = "Unsupported sample rate";
inline constexpr const char* kCouldNotRead = "The file could not be read";
inline constexpr const char* kOutOfMemory = "Not enough memory to read this file";
inline constexpr const char* kNoDecoder = "The audio decoding libraries are not installed";

// Analysing it.
inline constexpr const char* kTooLong = "File is longer than 3 hours";
inline constexpr const char* kTooShort = "File is too short to detect a tempo";
inline constexpr const char* kNoRhythm = "No rhythmic content found in this file";
inline constexpr const char* kCancelled = "Analysis cancelled";
inline constexpr const char* kNoAudioBuffer = "Could not allocate an audio buffer";
inline constexpr const char* kAnalysisOutOfMemory = "Not enough memory to analyse this file";

// Writing its tags: the end of "PATH: could not write tags: REASON". Those
// followed by the system's own words end before the ": ".
inline constexpr const char* kUnsupportedContainer =
    "tags are written only to MP3, WAV, AIFF, FLAC, Ogg Vorbis, Opus and M4A files";
inline constexpr const char* kCannotFind = "cannot find the file";
inline constexpr const char* kCannotRead = "cannot read the file";
inline constexpr const char* kCannotWrite = "cannot write the file";
inline constexpr const char* kCannotWriteTags = "cannot write the tags";
inline constexpr const char* kCannotCopy = "cannot copy the file";
inline constexpr const char* kCannotCreateBeside = "cannot create a file beside it";
inline constexpr const char* kCannotSetPermissions = "cannot set the permissions";
inline constexpr const char* kCannotName = "cannot name the new file";
inline constexpr const char* kCannotSync = "cannot write the file to the disk";
inline constexpr const char* kCannotReplace = "cannot replace the file";
inline constexpr const char* kNotRegularFile = "not a regular file";
inline constexpr const char* kNotValidPrefix = "not a valid ";  // + the container's name + " file"
inline constexpr const char* kNotAKeySuffix = "' is not a key"; // after "'" + the key
inline constexpr const char* kTagsNotSaved = "TagLib could not save the tags";
inline constexpr const char* kTagsNotReadBack = "the new tags did not read back";
inline constexpr const char* kNewFileGone = "the new file is gone";
inline constexpr const char* kChangedSinceAnalysis = "the file changed while it was analysed";
inline constexpr const char* kChangedWhileWritten = "the file changed while its tags were written";
inline constexpr const char* kTagsOutOfMemory = "not enough memory";

} // namespace quorlen::text::failure

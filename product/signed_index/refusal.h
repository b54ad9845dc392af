#pragma once

namespace signed_index {

/// Why an index, its signature, a key or a file is not used. One list for all, so that a log and a
/// test can name each.
enum class Refusal {
    kNone,  ///< not refused

    // The signature of the index.
    kNoSignature,          ///< missing or empty
    kSignatureTooLarge,    ///< more than kMaxSignatureSize bytes
    kSignatureMalformed,   ///< not four lines as minisign writes them
    kSignatureAlgorithm,   ///< neither "Ed" nor "ED"
    kNoTrustedKeys,        ///< this machine trusts nobody
    kUnknownKey,           ///< signed by a key that this machine does not trust
    kWrongSignature,       ///< the bytes are not those that were signed
    kWrongTrustedComment,  ///< the signature's comment is not the one that was signed

    // The text of the index.
    kIndexTooLarge,     ///< more than kMaxIndexSize bytes
    kNotJson,           ///< no single JSON object
    kRepeatedField,     ///< a field stands twice in one object
    kMissingField,      ///< a field that must be there is not
    kWrongFieldType,    ///< a number where a text must be, or the like
    kUnknownFormat,     ///< "format" is not 1
    kBadSerial,         ///< "serial" is 0 or does not fit 64 bits
    kBadDate,           ///< "made" or "expires" is no moment, or they are in the wrong order
    kNoFiles,           ///< "files" is empty
    kTooManyFiles,      ///< "files" has more than kMaxFiles entries
    kBadFileName,       ///< a name that could leave the folder or hide in it
    kNotADatabaseName,  ///< a name whose ending no database has
    kRepeatedFileName,  ///< two files of one name
    kBadFileSize,       ///< 0 or more than kMaxFileSize bytes
    kTooLargeInAll,     ///< more than kMaxTotalSize bytes in all files
    kBadFileDigest,     ///< not 64 digits in lower case
    kBadFileVersion,    ///< does not fit 32 bits

    // What a genuine index says, by the clock and by what was seen before.
    kExpired,      ///< the mirror has stood still for too long, or is kept from changing
    kOlderSerial,  ///< older than the index this machine already has

    // A file that the index names.
    kWrongFileSize,    ///< longer or shorter than the index says
    kWrongFileDigest,  ///< other bytes than the index says

    // The folder of trusted keys and what lies in it.
    kKeyFolderMissing,
    kKeyFolderUnsafe,  ///< not a folder of root's, or others may write to it
    kKeyFileUnsafe,    ///< not a regular file of root's, or others may write to it
    kKeyMalformed,     ///< no public key as minisign writes it

    // A secret key.
    kSecretKeyMalformed,
    kSecretKeyEncrypted,  ///< it has a password
    kSecretKeyDamaged,    ///< its parts do not belong together
};

/// The reason in words, without a full stop: "the signature is missing". Never null. Any thread.
const char* WordsFor(Refusal refusal);

}  // namespace signed_index

#include "product/signed_index/refusal.h"

namespace signed_index {

const char* WordsFor(Refusal refusal) {
    switch (refusal) {
        case Refusal::kNone:
            return "nothing is wrong";
        case Refusal::kNoSignature:
            return "the index has no signature";
        case Refusal::kSignatureTooLarge:
            return "the signature of the index is too large";
        case Refusal::kSignatureMalformed:
            return "the signature of the index is malformed";
        case Refusal::kSignatureAlgorithm:
            return "the signature of the index is of an unknown kind";
        case Refusal::kNoTrustedKeys:
            return "this machine trusts no key";
        case Refusal::kUnknownKey:
            return "the index is signed by a key that this machine does not trust";
        case Refusal::kWrongSignature:
            return "the signature does not belong to this index";
        case Refusal::kWrongTrustedComment:
            return "the comment of the signature was changed";
        case Refusal::kIndexTooLarge:
            return "the index is larger than 1 MiB";
        case Refusal::kNotJson:
            return "the index is not a JSON object";
        case Refusal::kRepeatedField:
            return "the index has a field twice";
        case Refusal::kMissingField:
            return "the index lacks a field";
        case Refusal::kWrongFieldType:
            return "a field of the index is of the wrong kind";
        case Refusal::kUnknownFormat:
            return "the index has an unknown format";
        case Refusal::kBadSerial:
            return "the serial of the index is not a number above 0 of 64 bits";
        case Refusal::kBadDate:
            return "a date of the index is wrong";
        case Refusal::kNoFiles:
            return "the index names no files";
        case Refusal::kTooManyFiles:
            return "the index names too many files";
        case Refusal::kBadFileName:
            return "the index holds a forbidden file name";
        case Refusal::kNotADatabaseName:
            return "the index names a file that is no database";
        case Refusal::kRepeatedFileName:
            return "the index names a file twice";
        case Refusal::kBadFileSize:
            return "the index gives a file an impossible size";
        case Refusal::kTooLargeInAll:
            return "the files of the index are too large in all";
        case Refusal::kBadFileDigest:
            return "the index gives a file an impossible digest";
        case Refusal::kBadFileVersion:
            return "the index gives a file an impossible version";
        case Refusal::kExpired:
            return "the index has expired";
        case Refusal::kOlderSerial:
            return "the index is older than the one already here";
        case Refusal::kWrongFileSize:
            return "the file has another size than the index says";
        case Refusal::kWrongFileDigest:
            return "the file has another digest than the index says";
        case Refusal::kKeyFolderMissing:
            return "there is no folder of trusted keys";
        case Refusal::kKeyFolderUnsafe:
            return "others than root may change the folder of trusted keys";
        case Refusal::kKeyFileUnsafe:
            return "others than root may change the key file";
        case Refusal::kKeyMalformed:
            return "the key file holds no public key";
        case Refusal::kSecretKeyMalformed:
            return "the file holds no secret key";
        case Refusal::kSecretKeyEncrypted:
            return "the secret key has a password; make one without by \"minisign -G -W\"";
        case Refusal::kSecretKeyDamaged:
            return "the secret key is damaged";
    }
    return "an unknown reason";
}

}  // namespace signed_index

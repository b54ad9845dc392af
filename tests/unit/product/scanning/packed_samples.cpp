#include "tests/unit/product/scanning/packed_samples.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>

#include "tests/support/scratch.h"
#include "tests/unit/product/scanapi/archives.h"

namespace fs = std::filesystem;

namespace {

std::string Plain() {
    std::string text;
    for (int i = 1; i < 4000; ++i) {
        text += std::to_string(i) + '\n';
    }
    return text;
}

std::string Noise() {
    std::minstd_rand numbers(20);
    std::string bytes(20000, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(numbers() >> 8U);
    }
    return bytes;
}

// Writes stored members between heads with the check sums that they must have.
constexpr char kOldRar[] = R"(python3 - *  > "$OUT" <<'END'
import os, struct, sys, zlib
def block(kind, flags, rest, data=b''):
    body = struct.pack('<BHH', kind, flags, 7 + len(rest)) + rest
    return struct.pack('<H', zlib.crc32(body) & 0xffff) + body + data
out = b'Rar!\x1a\x07\x00' + block(0x73, 0, bytes(6))
for name in sys.argv[1:]:
    data = open(name, 'rb').read()
    head = struct.pack('<IIBIIBBHI', len(data), len(data), 3, zlib.crc32(data), 0x58210000, 20,
                       0x30, len(name), 0o100644) + name.encode()
    out += block(0x74, 0x8000, head, data)
sys.stdout.buffer.write(out + block(0x7b, 0x4000, b''))
END
)";

constexpr char kNewRar[] = R"(python3 - *  > "$OUT" <<'END'
import struct, sys, zlib
def number(value):
    out = b''
    while value > 127:
        out, value = out + bytes([value & 127 | 128]), value >> 7
    return out + bytes([value])
def block(body, data=b''):
    body = number(len(body)) + body
    return struct.pack('<I', zlib.crc32(body)) + body + data
out = b'Rar!\x1a\x07\x01\x00' + block(bytes([1, 0, 0]))
for name in sys.argv[1:]:
    data = open(name, 'rb').read()
    head = bytes([2, 2]) + number(len(data)) + bytes([4]) + number(len(data)) + number(0o100644)
    head += struct.pack('<I', zlib.crc32(data)) + bytes([0, 1]) + number(len(name)) + name.encode()
    out += block(head, data)
sys.stdout.buffer.write(out + block(bytes([5, 0, 0])))
END
)";

// The second zip file's members are not in the listing of the first, which is at the end.
constexpr char kUnlisted[] = R"(zip -q "$WORK/a.zip" plain.txt && python3 - * > "$OUT" <<'END'
import os, sys, zlib, struct
name = b'hidden'
data = b''.join(open(each, 'rb').read() for each in sys.argv[1:])
hidden = b'PK\x03\x04' + struct.pack('<HHHIIIIHH', 20, 0, 0, 0, zlib.crc32(data), len(data),
                                    len(data), len(name), 0) + name + data
sys.stdout.buffer.write(hidden + open(os.environ['WORK'] + '/a.zip', 'rb').read())
END
)";

constexpr char kPdf[] = R"(python3 - * > "$WORK/a.pdf" <<'END'
import sys
out, places = b'%PDF-1.4\n', []
def add(body):
    global out
    places.append(len(out))
    out += b'%d 0 obj\n' % len(places) + body + b'\nendobj\n'
add(b'<< /Type /Catalog /Pages 2 0 R >>')
add(b'<< /Type /Pages /Kids [3 0 R] /Count 1 >>')
add(b'<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] /Contents 4 0 R >>')
for name in sys.argv[1:]:
    data = open(name, 'rb').read()
    add(b'<< /Length %d >>\nstream\n' % len(data) + data + b'\nendstream')
start = len(out)
out += b'xref\n0 %d\n0000000000 65535 f \n' % (len(places) + 1)
out += b''.join(b'%010d 00000 n \n' % each for each in places)
out += b'trailer\n<< /Size %d /Root 1 0 R >>\nstartxref\n%d\n%%%%EOF\n' % (len(places) + 1, start)
sys.stdout.buffer.write(out)
END
)";

constexpr char kRpm[] = R"(cat > "$WORK/recipe" <<'END'
Name: x
Version: 1
Release: 1
Summary: s
License: l
BuildArch: noarch
%description
d
%install
mkdir -p %{buildroot}/x
cp * %{buildroot}/x
%files
/x
END
rpmbuild -bb --quiet --define "_topdir $WORK" --define "_builddir $PWD" \
    --define "_buildrootdir $WORK/root" --define "_binary_payload $PAYLOAD" \
    --define "__os_install_post %{nil}" "$WORK/recipe" && cp "$WORK"/RPMS/noarch/*.rpm "$OUT")";

std::string Deb(const std::string& compressor) {
    return R"(mkdir -p "$WORK/DEBIAN" "$WORK/x" && cp * "$WORK/x" &&
printf 'Package: x\nVersion: 1\nArchitecture: all\nMaintainer: n\nDescription: d\n' \
    > "$WORK/DEBIAN/control" && dpkg-deb -Z)" +
           compressor + R"( -b "$WORK" "$OUT" > "$OUT.log")";
}

std::string Tape(const std::string& compressor) {
    return "tar cf - * | " + compressor + " > \"$OUT\"";
}

std::string TapeInTwo(const std::string& compressor) {
    return R"(tar cf "$WORK/a" $(ls -r) && (head -c 3000 "$WORK/a" | )" + compressor +
           R"(; tail -c +3001 "$WORK/a" | )" + compressor + ") > \"$OUT\"";
}

std::string SevenZip(const std::string& options) {
    return "7zz a -bd " + options + " \"$WORK/a\" * > \"$OUT.log\" && cat \"$WORK\"/a* > \"$OUT\"";
}

std::string Arj(const std::string& options) {
    return "arj a " + options + R"( "$WORK/a.arj" * > "$OUT.log" && cp "$WORK/a.arj" "$OUT")";
}

// In the middle of data of no known type.
std::string Within(const std::string& packer) {
    return packer + R"(
(printf '\001\002\003\004\005\006\007\201\215' && head -c 40 /dev/zero && cat "$OUT" &&
    printf '\201\001more') > "$OUT.data" && mv "$OUT.data" "$OUT")";
}

std::string Given(const std::string& name) {
    return "cp /usr/share/clamav-testfiles/" + name + " \"$OUT\"";
}

const std::string kOffice =
    "mkdir \"$WORK/word\" && cp * \"$WORK/word\" && cd \"$WORK\" && "
    "echo '<Types/>' > '[Content_Types].xml' && echo '<document/>' > word/document.xml && "
    "zip -q -X a.zip '[Content_Types].xml' word/document.xml word/* && cp a.zip \"$OUT\"";

std::map<std::string, std::string> MakePackers() {
    return {
        {"tar", "tar cf \"$OUT\" *"},
        {"cpio", "ls | cpio -o -H newc --quiet > \"$OUT\""},
        {"old cpio", "ls | cpio -o -H bin --quiet > \"$OUT\""},
        {"ar", "ar rc \"$OUT\" *"},
        {"cab", "gcab -cz \"$OUT\" *"},
        {"arj", Arj("")},
        {"lha", "jlha c \"$OUT\" *"},
        {"xar", "bsdtar --format=xar -cf \"$OUT\" *"},
        {"ISO 9660", "genisoimage -quiet -o \"$OUT\" ."},
        {"gzip", Tape("gzip -c")},
        {"gzip, several streams", TapeInTwo("gzip -c")},
        {"bzip2", Tape("bzip2 -c")},
        {"bzip2, several streams", TapeInTwo("bzip2 -c")},
        {"xz", Tape("xz -c")},
        {"xz, several streams", TapeInTwo("xz -c")},
        {"lzma", Tape("xz --format=lzma -c")},
        {"lzip", Tape("lzip -c")},
        {"compress (.Z)", Tape("compress -c")},
        {"zstd", Tape("zstd -c")},
        {"lz4", Tape("lz4 -c")},
        {"deb, gzip", Deb("gzip")},
        {"deb, xz", Deb("xz")},
        {"deb, zstd", Deb("zstd")},
        {"deb, not compressed", Deb("none")},
        {"rpm, gzip", std::string("PAYLOAD=w9.gzdio\n") + kRpm},
        {"rpm, bzip2", std::string("PAYLOAD=w9.bzdio\n") + kRpm},
        {"rpm, xz", std::string("PAYLOAD=w7.xzdio\n") + kRpm},
        {"rpm, lzma", std::string("PAYLOAD=w7.lzdio\n") + kRpm},
        {"rpm, zstd", std::string("PAYLOAD=w3.zstdio\n") + kRpm},
        {"7z", SevenZip("-m0=LZMA2")},
        {"7z, PPMd", SevenZip("-m0=PPMd")},
        {"7z, bzip2", SevenZip("-m0=BZip2")},
        {"7z, deflate", SevenZip("-m0=Deflate")},
        {"7z, encrypted", SevenZip("-pxx")},
        {"7z, encrypted names", SevenZip("-pxx -mhe=on")},
        {"RAR 4, stored", kOldRar},
        {"RAR 5, stored", kNewRar},
        {"zip", SevenZip("-tzip -mm=Deflate")},
        {"zip, bzip2", SevenZip("-tzip -mm=BZip2")},
        {"zip, deflate64", SevenZip("-tzip -mm=Deflate64")},
        {"zip, PPMd", SevenZip("-tzip -mm=PPMd")},
        {"zip, encrypted", SevenZip("-tzip -pxx")},
        {"zip, encrypted, within other data", Within(SevenZip("-tzip -pxx"))},
        {"zip, within other data", Within(SevenZip("-tzip -mm=Deflate"))},
        {"zip, PPMd, within other data", Within(SevenZip("-tzip -mm=PPMd"))},
        {"7z, within other data", Within(SevenZip("-m0=LZMA2"))},
        {"7z, bzip2, within other data", Within(SevenZip("-m0=BZip2"))},
        {"7z, encrypted, within other data", Within(SevenZip("-pxx"))},
        {"RAR 4, within other data", Within(kOldRar)},
        {"RAR 5, within other data", Within(kNewRar)},
        {"cab, within other data", Within("gcab -cz \"$OUT\" *")},
        {"arj, within other data", Within(Arj(""))},
        {"arj, encrypted, within other data", Within(Arj("-gxx"))},
        {"zip, members outside the listing", kUnlisted},
        {"Office Open XML", kOffice},
        {"self-extracting zip",
         "zip -q \"$WORK/a.zip\" * && cat /bin/true \"$WORK/a.zip\" > \"$OUT\""},
        {"self-extracting 7z",
         "7zz a -bd \"$WORK/a.7z\" * > \"$OUT.log\" && cat /bin/true \"$WORK/a.7z\" > \"$OUT\""},
        {"program with squashfs",
         "mksquashfs . \"$WORK/a\" -quiet -no-progress > \"$OUT.log\" && "
         "cat /bin/true \"$WORK/a\" > \"$OUT\""},
        {"PDF with a RAR behind it",
         std::string(kOldRar) +
             "mkdir \"$WORK/x\" && cp plain.txt \"$WORK/x\" && cd \"$WORK/x\"\n" + kPdf +
             "cat \"$WORK/a.pdf\" \"$OUT\" > \"$OUT.pdf\" && mv \"$OUT.pdf\" \"$OUT\""},
        {"self-extracting RAR", std::string(kOldRar) + "cat /bin/true \"$OUT\" > \"$OUT.sfx\" && "
                                                       "mv \"$OUT.sfx\" \"$OUT\""},
        {"shell script with gzip",
         "(printf '#!/bin/sh\\nexit\\n'; tar cf - * | gzip -c) > \"$OUT\""},
        {"PDF", std::string(kPdf) + "cp \"$WORK/a.pdf\" \"$OUT\""},
        {"PDF, encrypted", std::string(kPdf) + "qpdf --encrypt xx xx 256 -- \"$WORK/a.pdf\" "
                                               "\"$OUT\""},
        {"arj, encrypted", Arj("-gxx")},
        {"squashfs", "mksquashfs . \"$OUT\" -quiet -no-progress > \"$OUT.log\""},
        {"wim", SevenZip("-twim")},
        {"ext2, ext3, ext4", "truncate -s 1M \"$OUT\" && /sbin/mke2fs -q -d . \"$OUT\""},
        {"FAT", "/sbin/mkfs.fat -C \"$OUT\" 1440 > \"$OUT.log\""},
        {"lzop", Tape("lzop -c")},
        {"lrzip",
         "tar cf \"$WORK/a\" * && lrzip -q -N 0 -L 1 -o \"$OUT\" \"$WORK/a\" > \"$OUT.log\""},
        {"zpaq", "zpaq add \"$WORK/a.zpaq\" * > \"$OUT.log\" 2>&1 && cp \"$WORK/a.zpaq\" \"$OUT\""},
        {"chm", Given("clam.chm")},
        {"mail", Given("clam.mail")},
        {"uuencode", Given("clam.exe.mbox.uu")},
        {"binhex", Given("clam.exe.binhex")},
        {"TNEF", Given("clam.tnef")},
        {"RTF", Given("clam.exe.rtf")},
        {"HTML with a file in it", Given("clam.exe.html")},
        {"Word document", Given("clam.ole.doc")},
        {"SIS", Given("clam.sis")},
        {"SZDD", Given("clam.exe.szdd")},
        {"NSIS", Given("clam-nsis.exe")},
        {"InstallShield", Given("clam_ISmsi_ext.exe")},
        {"AutoIt", Given("clam.ea06.exe")},
        {"packed program", Given("clam-upx.exe")},
    };
}

}  // namespace

const std::map<std::string, std::string>& Packers() {
    static const std::map<std::string, std::string> packers = MakePackers();
    return packers;
}

std::string MakeSample(const std::string& kind, bool withFind) {
    // Some packers take a second.
    static std::map<std::pair<std::string, bool>, std::string> made;
    const auto sample = made.find({kind, withFind});
    return sample != made.end() ? sample->second
                                : made[{kind, withFind}] = RunPacker(Packers().at(kind), withFind);
}

std::string RunPacker(const std::string& packer, bool withFind) {
    const ScratchFolder folder;
    const std::string source = folder / "source";
    fs::create_directory(source);
    fs::create_directory(folder / "work");
    WriteFile(source + "/plain.txt", Plain());
    WriteFile(source + "/noise", Noise());
    if (withFind) {
        WriteFile(source + "/bad.com", archives::Eicar());
    }
    WriteFile(folder / "script", "set -e\nexport OUT=" + folder / "out" +
                                     " WORK=" + folder / "work" + "\ncd " + source + "\n" + packer);
    const std::string command =
        "sh " + folder / "script" + " > " + folder / "log" + " 2>&1 < /dev/null";
    const int status = std::system(command.c_str());
    EXPECT_EQ(status, 0) << packer << ": " << ReadFile(folder / "log");
    return ReadFile(folder / "out");
}

"""The Python client over the library and the providers of this build.

usage: python-client-test.py BIN-FOLDER (with LARDER_LIBRARY and PYTHONPATH set)
"""

import hashlib
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

import larder

BIN = sys.argv.pop()
TEST_TYPE = 2
MODULES = {"FeedFile": "feed-file.dll", "FeedTest": "feed-test.dll", "FeedStats": "feed-stats.dll"}


def setUpModule():
    global folder
    folder = tempfile.mkdtemp(prefix="larder-test-", dir=os.environ.get("TMPDIR", "/var/tmp"))
    unittest.addModuleCleanup(shutil.rmtree, folder)
    os.environ["LARDER_ROOT"] = folder
    for module in [*MODULES.values(), "stock-file-query.dll"]:
        shutil.copy(os.path.join(BIN, module), folder)
    location = folder.replace("/", "\\") + "\\"
    registry_set("Install", "szLocation", location)
    for key, module in MODULES.items():
        registry_set("DataProviders\\" + key, "szDLL", module)


def registry_set(*arguments):
    subprocess.run([os.path.join(BIN, "larder"), "registry", "set", *arguments], check=True)


class SessionTest(unittest.TestCase):
    def setUp(self):
        self.session = larder.Session()
        self.addCleanup(self.session.close)

    def code_of(self, call, *arguments):
        with self.assertRaises(larder.Error) as caught:
            call(*arguments)
        return caught.exception.code

    def test_reads_the_facts_of_a_file_and_of_its_version(self):
        path = os.path.join(folder, "fi le \N{GRINNING FACE}")
        with open(path, "wb") as file:
            file.write(b"abc")
        os.utime(path, ns=(0, -1_500_000_050))
        time = larder.last_modified(path)
        record = self.session.query_file(path, last_modified=time)
        self.assertEqual(record.sha256, hashlib.sha256(b"abc").digest())
        self.assertEqual(record.md5, hashlib.md5(b"abc").digest())
        self.assertEqual(record.chains, ())
        self.assertEqual(self.session.query_file(os.fsencode(path)), record)
        for other in (time - 1, time + 1, time + 2**32):
            code = self.code_of(self.session.query_file, path, 0, other)
            self.assertEqual(code, larder.Code.FILE_ID_MISMATCH)
        self.assertIsNone(self.session.query_file(os.path.join(folder, "none")))

    def test_blocks_are_written_copied_and_freed(self):
        thing = larder.file_object("/thing")
        block = struct.pack("<Ii", 11, 9) + b"a\0b"
        self.session.write(TEST_TYPE, thing, block + b"not written")
        answer = struct.pack("<Ii", 11, TEST_TYPE) + b"a\0b"
        self.assertEqual(self.session.query(TEST_TYPE, thing), answer)
        self.assertIsNone(self.session.query(TEST_TYPE, larder.file_object("/other")))
        self.assertIsNone(self.session.query(TEST_TYPE, larder.file_object("/fail:query=code:0")))
        for short in (b"", block[:7], block[:-1]):
            with self.assertRaises(larder.RecordError):
                self.session.write(TEST_TYPE, thing, short)
        for freed in range(3):  # queries of the statistics, whose blocks are counted
            stats = struct.unpack_from("<IiQQQQ", self.session.query(larder.FEED_STATS_TYPE, thing))
            self.assertEqual((stats[4], stats[5]), (freed + 1, freed))

    def test_errors_have_the_code_and_its_text(self):
        with self.assertRaisesRegex(larder.Error, r"^LarderQuery: Generic error \(-4\)$"):
            self.session.query(5, larder.file_object("/a"))
        with self.assertRaisesRegex(larder.Error, "^LarderQuery: code 7$"):
            self.session.query(TEST_TYPE, larder.file_object("/fail:query=code:7"))

    def test_sessions_share_the_handle_until_the_last_is_closed(self):
        with larder.Session() as second:
            self.assertTrue(self.session.is_first)
            self.assertFalse(second.is_first)
            self.session.close()
            self.session.close()
            self.assertIsNone(second.query(TEST_TYPE, larder.file_object("/a")))
            refused = self.code_of(self.session.query, TEST_TYPE, larder.file_object("/a"))
            self.assertEqual(refused, larder.Code.INVALID_HANDLE)
        with larder.Session() as third:
            self.assertTrue(third.is_first)
        larder.Session()  # a session that nobody closes releases its reference, too
        with larder.Session() as fourth:
            self.assertTrue(fourth.is_first)


class RecordTest(unittest.TestCase):
    CHAIN = larder.Chain(tuple(map(larder.Certificate, (b"abc", b"", b"d"))))

    def test_a_packed_record_is_parsed_to_itself(self):
        for chains in ((), (self.CHAIN,), (self.CHAIN, self.CHAIN)):
            record = larder.Record(file_id=2**64 - 1, sha256=bytes(range(32)), chains=chains)
            self.assertEqual(larder.Record.parse(record.pack() + b"behind"), record)
        self.assertEqual(len(larder.Record().pack()), 400)
        for wrong in ({"sha1": b"short"}, {"file_id": -1}, {"file_id": 2**64}):
            with self.assertRaises(larder.RecordError):
                larder.Record(**wrong).pack()

    def test_a_damaged_record_is_refused(self):
        good = larder.Record(chains=(self.CHAIN, self.CHAIN)).pack()
        for size in range(len(good)):  # the record, and what its header says
            for cut in (good[:size], struct.pack("<I", size) + good[4:]):
                with self.assertRaises(larder.RecordError):
                    larder.Record.parse(cut)
        links = [384, 392, 392 + 11, 392 + 11 + 8, 412 + 8]
        for offset in links:
            for link in (1, 7, 10, 2**31, 2**32 - 8, 2**32 - 1):
                damaged = good[:offset] + struct.pack("<I", link) + good[offset + 4:]
                with self.assertRaises(larder.RecordError, msg=f"{link} at {offset}"):
                    larder.Record.parse(damaged)
        with self.assertRaises(larder.RecordError):
            larder.Record.parse(good[:4] + struct.pack("<i", TEST_TYPE) + good[8:])


class PathTest(unittest.TestCase):
    def test_paths_are_full_and_utf16_with_backslashes(self):
        here = os.getcwd().replace("/", "\\")
        cases = {"/": "\\", "//a/./b//../c/": "\\a\\b\\..\\c", b"/\xc3\xa9": "\\\u00e9",
                 "/\U0001f600": "\\\U0001f600", "./n": here + "\\n", ".": here}
        for path, expected in cases.items():
            units = (expected + "\0").encode("utf-16-le")
            self.assertEqual(larder.file_object(path, 2**32 + 5), struct.pack("<II", 5, 1) + units)
        larder.file_object("/" + "x" * 4094)

    def test_times_that_no_descriptor_can_have_are_refused(self):
        for time in (-1, 2**64):
            with self.assertRaises(ValueError):
                larder.file_object("/", time)

    def test_paths_that_cant_be_expressed_are_refused(self):
        for path in ("", b"", "/a\0b", "/a\\b", b"l\xe9", b"/\xc0\x80", "/\ud800",
                     b"/\xed\xa0\xbd\xed\xb8\x80", "/" + "x" * 4095):
            with self.assertRaises(larder.PathError, msg=repr(path)):
                larder.file_object(path)

    def test_full_paths_of_windows_have_backslashes_and_keep_lone_surrogates(self):
        for path, expected in {"C:/a/b": "C:\\a\\b", "//server/share/a": "\\\\server\\share\\a",
                               "\\\\?\\C:\\a": "\\\\?\\C:\\a", "C:\\\ud800": "C:\\\ud800"}.items():
            units = expected.encode("utf-16-le", "surrogatepass")
            self.assertEqual(larder._windows_units(path), units)
        for path in ("", "C:\\a\0", "C:\\" + "x" * 32764):
            with self.assertRaises(larder.PathError):
                larder._windows_units(path)


if __name__ == "__main__":
    unittest.main()

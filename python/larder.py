"""Larder: the client interface for Python 3.9 and later. One file; needs nothing but the library.

    import larder

    with larder.Session() as session:
        record = session.query_file("/usr/bin/env")
        if record is not None:
            print(record.sha256.hex())

A data block is copied and freed before a query returns, so nothing that this module returns depends
on a session. Every function may be called from any thread, except that a session must not be closed
while another thread is inside one of its calls. Calls release the interpreter's lock.

Exceptions:
    Error        a function of the library failed
    RecordError  a data block isn't what it should be
    PathError    a path can't be expressed in an object descriptor
    OSError      the library can't be loaded, or a file's time can't be read

The library is loaded by the first call that needs it: the file that the environment variable
LARDER_LIBRARY names; otherwise the one of the installation that this file belongs to; otherwise the
one that the system finds by its name. The "Traps" in larder/larder.h apply here, too.
"""

from __future__ import annotations

import ctypes
import enum
import functools
import ntpath
import os
import struct
import sys
import sysconfig
import weakref
from collections.abc import Callable, Iterator
from dataclasses import dataclass, replace
from pathlib import Path
from typing import Optional, Union

__all__ = [
    "FEED_FILE_TYPE", "FEED_STATS_TYPE", "Certificate", "Chain", "Code", "Error", "FileOption",
    "PathError", "Record", "RecordError", "Session", "error_text", "file_object", "last_modified",
]

AnyPath = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

FEED_FILE_TYPE = 1
FEED_STATS_TYPE = 3

_QUERY_VERSION = 1


class Code(enum.IntEnum):
    """Result codes of the library. A provider may raise others."""

    OK = 0
    DLL_NOT_FOUND = -1
    REGISTRY_KEY_NOT_FOUND = -2
    DB_OPEN_FAILED = -3
    GENERIC = -4
    INVALID_HANDLE = -5
    PARAMETER_1 = -6
    PARAMETER_2 = -7
    PARAMETER_3 = -8
    PARAMETER_4 = -9
    PARAMETER_5 = -10
    ALREADY_INITIALIZED = -11
    INSTALL_IN_PROGRESS = -12
    NO_DATA = -13
    WRONG_VERSION = -14
    FILE_ID_MISMATCH = -15


class FileOption(enum.IntEnum):
    """Query options of the file provider."""

    NOW = 0  # the current record, from the store or computed
    STORED = 1  # the current record from the store, or none
    AFRESH = 2  # always computed


class Error(Exception):
    """A function of the library failed."""

    def __init__(self, function: str, code: int) -> None:
        self.function = function
        self.code = code
        self.text = error_text(code)  # empty for a provider's own code
        reason = f"{self.text} ({code})" if self.text else f"code {code}"
        super().__init__(f"{function}: {reason}")


class RecordError(ValueError):
    """A data block isn't what it should be."""


class PathError(ValueError):
    """A path can't be expressed in an object descriptor."""

    def __init__(self, path: AnyPath, reason: str) -> None:
        self.path = path
        super().__init__(f"Larder can't express this path: {reason}: {path!r}")


# --- Records --------------------------------------------------------------------------------------

_HEADER = struct.Struct("<Ii")
_FACTS = struct.Struct("<IiQ16s20s32s48s64s16s20s32s48s64s8s")
_LINK = struct.Struct("<II")  # CertChainRecord and CertDataRecord


@dataclass(frozen=True)
class Certificate:
    """A certificate in DER."""

    der: bytes


@dataclass(frozen=True)
class Chain:
    """The certificates of a chain; at least one."""

    certificates: tuple[Certificate, ...]


@dataclass(frozen=True)
class Record:
    """The file provider's data block: a file's digests, and the certificate chains of its signers.

    The digests of the image are zero for a file that isn't a PE image. A file without certificates
    has no chains.
    """

    file_id: int = 0
    md5: bytes = bytes(16)
    sha1: bytes = bytes(20)
    sha256: bytes = bytes(32)
    sha384: bytes = bytes(48)
    sha512: bytes = bytes(64)
    pe_md5: bytes = bytes(16)
    pe_sha1: bytes = bytes(20)
    pe_sha256: bytes = bytes(32)
    pe_sha384: bytes = bytes(48)
    pe_sha512: bytes = bytes(64)
    reserved: bytes = bytes(8)
    chains: tuple[Chain, ...] = ()

    @classmethod
    def parse(cls, block: bytes) -> Record:
        """RecordError if the block isn't a file provider's record, or is damaged: if a chain or a
        certificate begins before the end of the one before it, or ends after the record."""
        if len(block) < _FACTS.size:
            raise RecordError(f"{len(block)} bytes are too few for a file record")
        size, provider_type, *facts = _FACTS.unpack_from(block)
        if size > len(block):
            raise RecordError(f"dataSize is {size}, but there are only {len(block)} bytes")
        if provider_type != FEED_FILE_TYPE:
            raise RecordError(f"the block's type is {provider_type}")
        chains = tuple(_chains(memoryview(block)[:size]))
        is_placeholder = chains == (Chain((Certificate(b""),)),)
        record = cls(*facts)
        return record if is_placeholder else replace(record, chains=chains)

    def pack(self) -> bytes:
        """The record as a data block. RecordError if a digest hasn't its length, or file_id isn't a
        number of 64 bits."""
        if not 0 <= self.file_id < 2**64:
            raise RecordError(f"file_id is {self.file_id}, which isn't a number of 64 bits")
        chains = self.chains or (Chain((Certificate(b""),)),)
        packed = [_pack_chain(chain, i + 1 == len(chains)) for i, chain in enumerate(chains)]
        facts = (self.md5, self.sha1, self.sha256, self.sha384, self.sha512, self.pe_md5,
                 self.pe_sha1, self.pe_sha256, self.pe_sha384, self.pe_sha512, self.reserved)
        if [len(fact) for fact in facts] != [16, 20, 32, 48, 64, 16, 20, 32, 48, 64, 8]:
            raise RecordError("a digest hasn't its length")
        size = _FACTS.size + sum(map(len, packed))
        return _FACTS.pack(size, FEED_FILE_TYPE, self.file_id, *facts) + b"".join(packed)


def _read_link(record: memoryview, offset: int, least: int) -> tuple[int, int]:
    if offset < least:
        raise RecordError("damaged record: its parts overlap")
    if offset + _LINK.size > len(record):
        raise RecordError("damaged record: a part begins outside")
    first, second = _LINK.unpack_from(record, offset)
    return first, second


def _chains(record: memoryview) -> Iterator[Chain]:
    chain_at = end = _FACTS.size
    while True:
        next_chain, _ = _read_link(record, chain_at, end)
        cert_at = end = chain_at + _LINK.size
        certificates = []
        while True:
            next_cert, size = _read_link(record, cert_at, end)
            begin = cert_at + _LINK.size
            end = begin + size
            if end > len(record):
                raise RecordError("damaged record: a certificate ends outside")
            certificates.append(Certificate(bytes(record[begin:end])))
            if next_cert == 0:
                break
            cert_at += next_cert
        yield Chain(tuple(certificates))
        if next_chain == 0:
            return
        chain_at += next_chain


def _pack_chain(chain: Chain, is_last: bool) -> bytes:
    if not chain.certificates:
        raise RecordError("a chain has at least one certificate")
    body = b""
    for i, certificate in enumerate(chain.certificates):
        is_last_one = i + 1 == len(chain.certificates)
        link = 0 if is_last_one else _LINK.size + len(certificate.der)
        body += _LINK.pack(link, len(certificate.der)) + certificate.der
    return _LINK.pack(0 if is_last else _LINK.size + len(body), 0) + body


# --- Objects --------------------------------------------------------------------------------------

_FILETIME_OF_1970 = 116444736000000000  # 100 ns units since 1601-01-01


def last_modified(path: AnyPath) -> int:
    """The file's modification time as a descriptor has it: 100 ns units since 1601-01-01 UTC
    (FILETIME). Follows links. OSError if it can't be read."""
    return os.stat(path).st_mtime_ns // 100 + _FILETIME_OF_1970


def file_object(path: AnyPath, last_modified: int = 0) -> bytes:
    """The object descriptor of the file provider and of the test provider.

    path: relative to the current directory unless it is full. last_modified: the version of the
    file that is meant (see the function last_modified); 0 means the current one.

    PathError if the path can't be expressed: it is empty, has a NUL in it, or is too long for the
    system (4095 bytes on Linux, 32766 units on Windows); on Linux also if it isn't UTF-8 or has a
    backslash in a name. ValueError if last_modified isn't a number of 64 bits, for example for a time
    before 1601.
    """
    if not 0 <= last_modified < 2**64:
        raise ValueError(f"last_modified is {last_modified}, which isn't a number of 64 bits")
    units = _windows_units(path) if sys.platform == "win32" else _posix_units(path)
    return struct.pack("<Q", last_modified) + units + b"\0\0"


def _posix_units(path: AnyPath) -> bytes:
    try:
        native = os.fsencode(path)
    except UnicodeEncodeError:
        raise PathError(path, "no file can have this name") from None
    if not native or b"\0" in native:
        raise PathError(path, "it has a NUL" if native else "it is empty")
    full = os.path.join(os.getcwdb(), native)
    if len(full) > 4095:
        raise PathError(path, "too long")
    if b"\\" in full:
        raise PathError(path, "a name has a backslash")
    try:
        text = full.decode("utf-8")
    except UnicodeDecodeError:
        raise PathError(path, "it isn't UTF-8") from None
    # A file has one path however it was written. ".." stays, because it may follow a link.
    names = [name for name in text.split("/") if name not in ("", ".")]
    return ("\\" + "\\".join(names)).encode("utf-16-le")


def _windows_units(path: AnyPath) -> bytes:
    text = os.fsdecode(path)
    if not text or "\0" in text:
        raise PathError(path, "it has a NUL" if text else "it is empty")
    drive, rest = ntpath.splitdrive(text)
    is_full = text[0] in "\\/" and text[1:2] in ("\\", "/") or drive and rest[:1] in ("\\", "/")
    full = (text if is_full else os.path.abspath(text)).replace("/", "\\")
    units = full.encode("utf-16-le", "surrogatepass")  # names may have lone surrogates
    if len(units) > 2 * 32766:
        raise PathError(path, "too long")
    return units


# --- The library ----------------------------------------------------------------------------------

_Notify = ctypes.CFUNCTYPE(None, ctypes.c_int32)
_ignore = _Notify(lambda message: None)
_kept: list[object] = []  # callbacks that the library may call until the process ends


def _candidates() -> Iterator[str]:
    names = ["liblarder.so.0", "liblarder.so"]
    folders = ["lib", "lib64", f"lib/{sysconfig.get_config_var('MULTIARCH')}"]
    if sys.platform == "win32":
        names, folders = ["larder.dll"], ["bin"]
    for prefix in list(Path(__file__).resolve().parents)[1:4]:  # PREFIX/share/larder/python
        paths = [prefix / folder / name for folder in folders for name in names]
        yield from (str(path) for path in paths if path.exists())
    yield from names


def _open() -> ctypes.CDLL:
    chosen = os.environ.get("LARDER_LIBRARY")
    failure = OSError("the library isn't installed")
    for name in [chosen] if chosen else _candidates():
        try:
            return ctypes.CDLL(name)
        except OSError as error:
            failure = error
    raise failure


@functools.lru_cache(maxsize=None)
def _library() -> ctypes.CDLL:
    library = _open()
    pointer, text = ctypes.c_void_p, ctypes.c_char_p
    out, i32, u32 = ctypes.POINTER(pointer), ctypes.c_int32, ctypes.c_uint32
    library.LarderInit.argtypes = [_Notify, out]
    library.LarderRelease.argtypes = []
    library.LarderQuery.argtypes = [pointer, text, i32, u32, out, ctypes.c_uint8]
    library.LarderFreeQuery.argtypes = [pointer, pointer]
    library.LarderWrite.argtypes = [pointer, text, i32, text]
    library.LarderErrorToString.argtypes = [i32, u32, pointer]
    library.LarderErrorToString.restype = u32  # the others return int
    return library


def error_text(code: int) -> str:
    """The English text of a result code; empty for a code that isn't one of Code."""
    library = _library()
    size = library.LarderErrorToString(code, 0, None)
    text = (ctypes.c_uint16 * size)()
    library.LarderErrorToString(code, size, text)
    return bytes(text).decode("utf-16-le").rstrip("\0")


class Session:
    """A reference to the process's handle. Release it by "with" or close(). A process may have any
    number of sessions; they share one handle, and the last release unloads the providers. Creating
    the handle is slow and queries are fast, so keep a session for as long as you query.
    """

    def __init__(self, callback: Optional[Callable[[int], None]] = None) -> None:
        """callback: called on a thread of the library when an installer announces an upgrade (0) or
        an uninstallation (1); only if this session creates the handle (is_first). It must not open
        or close a session. Error if LarderInit fails."""
        notify = _ignore if callback is None else _Notify(callback)
        handle = ctypes.c_void_p()
        result = _library().LarderInit(notify, ctypes.byref(handle))
        if result not in (Code.OK, Code.ALREADY_INITIALIZED):
            raise Error("LarderInit", result)
        self.is_first = result == Code.OK
        if self.is_first:
            _kept.append(notify)
        self._handle: Optional[int] = handle.value
        self._release = weakref.finalize(self, _library().LarderRelease)  # also at exit

    def __enter__(self) -> Session:
        return self

    def __exit__(self, *exception: object) -> None:
        self.close()

    def close(self) -> None:
        """Releases the reference. May be called again. Later calls raise INVALID_HANDLE."""
        self._handle = None
        self._release()

    def query(self, provider_type: int, descriptor: bytes, option: int = 0) -> Optional[bytes]:
        """A provider's data block, DataBlockHeader included; None if it has no data for the object.
        descriptor: as the provider defines it. Error on every other failure."""
        data = ctypes.c_void_p()
        result = _library().LarderQuery(self._handle, descriptor, provider_type, option,
                                        ctypes.byref(data), _QUERY_VERSION)
        if result not in (Code.OK, Code.NO_DATA):
            raise Error("LarderQuery", result)
        if data.value is None:
            return None
        try:
            size, _ = _HEADER.unpack(ctypes.string_at(data.value, _HEADER.size))
            return ctypes.string_at(data.value, size)
        finally:
            _library().LarderFreeQuery(self._handle, data)

    def query_file(self, path: AnyPath, option: int = FileOption.NOW,
                   last_modified: int = 0) -> Optional[Record]:
        """What the file provider knows about a file; None if there is no such file, or for
        FileOption.STORED no stored record. Arguments as in file_object. Error with FILE_ID_MISMATCH
        if the file has another modification time."""
        block = self.query(FEED_FILE_TYPE, file_object(path, last_modified), option)
        return None if block is None else Record.parse(block)

    def write(self, provider_type: int, descriptor: bytes, block: bytes) -> None:
        """Passes a block to a provider, to be stored. RecordError if the block is shorter than its
        header says."""
        if len(block) < _HEADER.size or _HEADER.unpack_from(block)[0] > len(block):
            raise RecordError("the block is shorter than it says")
        result = _library().LarderWrite(self._handle, descriptor, provider_type, block)
        if result != Code.OK:
            raise Error("LarderWrite", result)

    def write_file(self, path: AnyPath, record: Record, last_modified: int = 0) -> None:
        """Stores a record of a file that the caller computed; larder/feed-file.h has the
        conditions."""
        self.write(FEED_FILE_TYPE, file_object(path, last_modified), record.pack())

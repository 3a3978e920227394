"""Video files, frame by frame."""

from __future__ import annotations

import os
import shutil
import subprocess
from contextlib import ExitStack
from dataclasses import dataclass, replace
from pathlib import Path
from typing import IO, Any, Iterable, Iterator, Tuple, Union

import numpy as np

from ._checks import choice, integer
from ._colour import convert
from ._frames import CHROMAS, FIELDS, FORMATS, MATRICES, MOST_PIXELS_OF_SIDE, PACKED, RANGES, Planes, Result, empty, view

Source = Union[str, "os.PathLike[str]", IO[bytes]]
_magic = b"YUV4MPEG2"
_longest_line = 4096
_most_frames = 1 << 48
_interlace = {b"p": "progressive", b"t": "top", b"b": "bottom"}
_sites = {b"422": None, b"422paldv": None, b"422mpeg2": "left", b"422jpeg": "centre"}
_raw = {".uyvy": "uyvy", ".yuy2": "yuy2"}


@dataclass(frozen=True)
class VideoFrame:
    """A picture of a video: its planes, and what their bytes mean.

    Attributes
    ----------
    planes : array or tuple of arrays
        As functions here take ``format``.
    format : str
        ``"i422"`` (of Y4M), ``"uyvy"`` or ``"yuy2"``.
    width, height : int
        Pixels.
    index : int
        Place in the video, from 0.
    field_order : {"progressive", "top", "bottom"}
    matrix, range, chroma : str or None
        As for `convert`; None: the file does not say.
    rate : (int, int)
        Frames in a number of seconds.
    aspect : (int, int)
        Width and height of a pixel; (0, 0): unknown.
    """

    planes: Planes
    format: str
    width: int
    height: int
    index: int = 0
    field_order: str = "progressive"
    matrix: str | None = None
    range: str | None = None
    chroma: str | None = None
    rate: Tuple[int, int] = (25, 1)
    aspect: Tuple[int, int] = (0, 0)

    def to(self, dst: str, **options: Any) -> Result:
        """The picture in another format, by the colours of the frame; options as of `convert`."""
        colours: dict[str, Any] = {"matrix": self.matrix, "range": self.range, "chroma": self.chroma}
        return convert(self.planes, self.format, dst, width=self.width, **{**colours, **options})


def read(source: Source, *, format: str | None = None, size: Tuple[int, int] | None = None,
         matrix: str | None = None, first: int = 0, count: int | None = None, program: str = "kv") -> Iterator[VideoFrame]:
    """The frames of a video, one by one.

    Parameters
    ----------
    source : path or binary file
        Y4M (4:2:2) and raw ``.uyvy`` and ``.yuy2`` are read here; any other path by the program ``kv`` through a pipe.
        A file that is given open stays open.
    format : {"uyvy", "yuy2"}, optional
        Raw frames of this format; None: by the name's ending.
    size : (int, int), optional
        Width and height of raw frames.
    matrix : {"bt601", "bt709", "bt2020"}, optional
        What the frames are to say of theirs; no file does.
    first : int
        Index of the first frame that is answered; files are positioned to it, pipes are read.
    count : int, optional
        Frames, at most; None: all.
    program : str
        Name or path of ``kv``.

    Yields
    ------
    VideoFrame
        In memory of its own.

    Raises
    ------
    ValueError
        A file that ends inside a frame, or is not what its name says.

    Examples
    --------
    >>> import io, numpy as np, kv_algo
    >>> file = io.BytesIO(b"YUV4MPEG2 W2 H1 F25:1 It C422\\nFRAME\\n" + bytes([16, 235, 128, 128]))
    >>> [(frame.field_order, frame.to("gray8").tolist()) for frame in kv_algo.read(file)]
    [('top', [[0, 255]])]
    """
    if matrix is not None:
        choice("matrix", matrix, MATRICES)
    begin = integer("first", first, 0, _most_frames)
    part = slice(begin, begin + (_most_frames if count is None else integer("count", count, 0, _most_frames)))
    if not isinstance(source, str) and not isinstance(source, os.PathLike):
        if not hasattr(source, "read"):
            raise TypeError(f"source is a {type(source).__name__}; it must be a path or a binary file")
        return _frames(source, "source", format, size, matrix, part, ExitStack())
    path = Path(os.fspath(source))
    if format is None:
        format = _raw.get(path.suffix)
    stack = ExitStack()
    if format is None and path.suffix != ".y4m":
        file = _through_program(path, program, stack)
    else:
        file = stack.enter_context(path.open("rb"))
    return _frames(file, str(path), format, size, matrix, part, stack)


def _through_program(path: Path, program: str, stack: ExitStack) -> IO[bytes]:
    found = shutil.which(program)
    if found is None:
        raise FileNotFoundError(f"{path} is read by the program {program}, which is not there")
    process = subprocess.Popen([found, "convert", str(path), "-"], stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def end(kind: Any, error: Any, trace: Any) -> None:
        assert process.stdout is not None and process.stderr is not None
        process.stdout.close()
        text = process.stderr.read().decode("utf-8", "replace").strip()
        process.stderr.close()
        # A reader that stops early closes the pipe: that is no failure of the program.
        if process.wait() != 0 and (kind is None or issubclass(kind, ValueError)):
            raise ValueError(f"{path}: {text}")

    stack.push(end)
    assert process.stdout is not None
    return process.stdout


def _frames(file: IO[bytes], name: str, format: str | None, size: Any, matrix: str | None,
            part: slice, stack: ExitStack) -> Iterator[VideoFrame]:
    with stack:
        if format is None:
            like = _y4m_header(file, name)
        else:
            choice("format", format, {one: FORMATS[one].code for one in PACKED})
            if not isinstance(size, (tuple, list)) or len(size) != 2:
                raise TypeError(f"size is {size!r:.60}; raw frames need (width, height)")
            width, height = (integer("size", one, 1, MOST_PIXELS_OF_SIDE) for one in size)
            like = VideoFrame((), format, width, height)
        kept = stack.pop_all()
    return _each(file, name, replace(like, matrix=matrix), format is None, part, kept)


def _each(file: IO[bytes], name: str, like: VideoFrame, is_y4m: bool, part: slice,
          stack: ExitStack) -> Iterator[VideoFrame]:
    with stack:
        can_seek = getattr(file, "seekable", bool)()
        for index in range(part.stop):
            if is_y4m:
                line = file.readline(_longest_line)
                if not line:
                    return
                if not (line.startswith(b"FRAME") and line.endswith(b"\n")):
                    raise ValueError(f"{name}: frame {index} does not begin with a line FRAME")
            planes = empty(FORMATS[like.format], like.width, like.height, zeros=False)
            all_planes = planes if isinstance(planes, tuple) else (planes,)
            wanted = sum(plane.nbytes for plane in all_planes)
            if index < part.start and can_seek:
                file.seek(wanted, os.SEEK_CUR)
                continue
            got = sum(_fill(file, memoryview(plane).cast("B")) for plane in all_planes)
            if got == 0 and not is_y4m:
                return
            if got < wanted:
                raise ValueError(f"{name} ends inside frame {index}: {got} bytes of {wanted}")
            if index >= part.start:
                yield replace(like, planes=planes, index=index)


def _fill(file: IO[bytes], memory: memoryview) -> int:
    done = 0
    while done < len(memory):
        part = file.read(len(memory) - done)
        if not part:
            break
        memory[done:done + len(part)] = part
        done += len(part)
    return done


def _ratio(name: str, tag: bytes) -> Tuple[int, int]:
    parts = tag[1:].split(b":")
    if len(parts) != 2 or not all(part.isdigit() for part in parts):
        raise ValueError(f"{name}: {tag.decode('latin-1')} is not a ratio such as 25:1")
    return int(parts[0]), int(parts[1])


def _y4m_header(file: IO[bytes], name: str) -> VideoFrame:
    line = file.readline(_longest_line)
    if not line.startswith(_magic + b" ") or not line.endswith(b"\n"):
        raise ValueError(f"{name} is not a Y4M file: it does not begin with YUV4MPEG2")
    tags = {tag[:1]: tag for tag in line.split()[1:] if tag[:1] != b"X"}
    sides = []
    for letter in (b"W", b"H"):
        number = tags.get(letter, b"")[1:]
        if not number.isdigit() or not 1 <= int(number) <= MOST_PIXELS_OF_SIDE:
            raise ValueError(f"{name}: the Y4M header has no {letter.decode()} from 1 to {MOST_PIXELS_OF_SIDE}")
        sides.append(int(number))
    site = tags.get(b"C", b"C420")[1:]
    if site not in _sites:
        raise ValueError(f"{name} is {site.decode('latin-1')}, not 4:2:2 with 8 bits (C422); convert it with the "
                         "ffmpeg option -pix_fmt yuv422p")
    known = {b"XCOLORRANGE=FULL": "full", b"XCOLORRANGE=LIMITED": "limited"}
    range = next((known[tag] for tag in line.split() if tag in known), None)
    return VideoFrame((), "i422", sides[0], sides[1], field_order=_interlace.get(tags.get(b"I", b"Ip")[1:], "progressive"),
                      range=range, chroma=_sites[site], rate=_ratio(name, tags.get(b"F", b"F25:1")),
                      aspect=_ratio(name, tags.get(b"A", b"A0:0")))


def write(target: Source, frames: Iterable[VideoFrame]) -> int:
    """Writes frames of one size as Y4M, or raw where the name ends with ``.uyvy`` or ``.yuy2``.

    Parameters
    ----------
    target : path or binary file
    frames : iterable of VideoFrame
        The first one tells what the header says. Packed formats become planes in Y4M, sample for sample.

    Returns
    -------
    int
        Frames that were written.

    Examples
    --------
    >>> import io, numpy as np, kv_algo
    >>> grey = kv_algo.VideoFrame(np.full((2, 4, 2), 128, np.uint8), "uyvy", 4, 2)
    >>> file = io.BytesIO()
    >>> kv_algo.write(file, [grey, grey])
    2
    >>> file.getvalue()[:34]
    b'YUV4MPEG2 W4 H2 F25:1 Ip A0:0 C422'
    """
    format = None
    count = 0
    size = (0, 0)
    with ExitStack() as stack:
        if isinstance(target, (str, os.PathLike)):
            format = _raw.get(Path(target).suffix)
            file: IO[bytes] = stack.enter_context(open(target, "wb"))
        else:
            file = target
        for frame in frames:
            if not isinstance(frame, VideoFrame):
                raise TypeError(f"frames[{count}] is a {type(frame).__name__}; it must be a VideoFrame")
            if count == 0:
                size = (frame.width, frame.height)
                if format is None:
                    file.write(_header_of(frame))
            elif size != (frame.width, frame.height):
                raise ValueError(f"frames[{count}] is {frame.width} x {frame.height}, the first {size[0]} x {size[1]}; "
                                 "they must be equal")
            to = format or "i422"
            planes = frame.planes if frame.format == to else frame.to(to)
            if format is None:
                file.write(b"FRAME\n")
            for plane in view(f"frames[{count}]", planes, FORMATS[to], frame.width).arrays:
                file.write(np.ascontiguousarray(plane).data)
            count += 1
    return count


def _header_of(frame: VideoFrame) -> bytes:
    choice("field_order", frame.field_order, FIELDS)
    site = {None: "422", "left": "422mpeg2", "centre": "422jpeg"}
    if frame.chroma is not None:
        choice("chroma", frame.chroma, CHROMAS)
    text = (f"YUV4MPEG2 W{frame.width} H{frame.height} F{frame.rate[0]}:{frame.rate[1]} I{frame.field_order[0]} "
            f"A{frame.aspect[0]}:{frame.aspect[1]} C{site[frame.chroma]}")
    if frame.range is not None:
        choice("range", frame.range, RANGES)
        text += f" XCOLORRANGE={frame.range.upper()}"
    return text.encode() + b"\n"

"""Exceptions raised by the ctgscore package."""


class CtgScoreError(Exception):
    """Base class of the errors that come from the library or its loading."""


class LibraryNotFoundError(CtgScoreError, OSError):
    """libctgscore could not be found or loaded; the message lists every place tried."""


class AnalysisError(CtgScoreError):
    """The library rejected a recording.

    Attributes:
        method: the method whose run failed ("krebs", "fischer", "acog" or "uc").
        reason: the library's error text, e.g. "The minimum length is 5 minutes".
        log_lines: every line the library logged during the failed call.
        raw_words: the 54 result words the failed run returned.
    """

    def __init__(self, method, reason, log_lines, raw_words):
        super().__init__(f"{method} analysis failed: {reason}")
        self.method = method
        self.reason = reason
        self.log_lines = tuple(log_lines)
        self.raw_words = tuple(raw_words)


class RecordingError(CtgScoreError, ValueError):
    """A file could not be read as a recording.

    The message is "<file>: <problem>", the command-line tool's own text.
    Attributes: path (the file concerned) and problem.
    """

    def __init__(self, path, problem):
        super().__init__(f"{path}: {problem}")
        self.path = str(path)
        self.problem = problem

    def __str__(self):
        return f"{self.path}: {self.problem}"

    def __reduce__(self):
        return type(self), (self.path, self.problem)


class RecordingNotFoundError(RecordingError, FileNotFoundError):
    """The recording file (or a file it names) does not exist."""

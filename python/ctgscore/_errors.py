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

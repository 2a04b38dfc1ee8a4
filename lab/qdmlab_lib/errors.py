"""What the front program tells its user instead of a traceback."""


class LabError(Exception):
    """Something that the user can put right; the text says what."""

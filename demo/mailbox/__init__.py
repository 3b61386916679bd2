"""The sample mailbox: messages as a busy person of a small town gets them, and those that a stranger would rather not be shown.

All names, texts and pictures are made up; all domains are those that RFC 2606 and RFC 6761 reserve.
"""

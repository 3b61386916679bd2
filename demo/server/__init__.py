"""The sample mail server: a throwaway Dovecot with its own certificate authority, all inside one state folder."""

<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>AddAccountItems</name>
    <message>
        <source>Google…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Microsoft (Outlook.com)…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Other Mail Account (IMAP)…</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AuthorizedAPI</name>
    <message>
        <source>The answer of the mail service can’t be read.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unexpected host</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bad request path</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bad request URL</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CipherError</name>
    <message>
        <source>The stored data is too short.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The stored data can&apos;t be opened.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Encryption failed.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ComposeFiles</name>
    <message>
        <source>Couldn&apos;t attach %1. Only files can be attached, up to %2 in total.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ConnectionSecurity</name>
    <message>
        <source>SSL/TLS</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>STARTTLS</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ContentBlocker</name>
    <message>
        <source>Content blocker failed to compile</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Credential</name>
    <message>
        <source>The stored credential can&apos;t be read.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DecodingError</name>
    <message>
        <source>The stored value “%1” is missing.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The stored value “%1” can&apos;t be read.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The stored data isn&apos;t valid JSON.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>An object was expected in the stored data.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A list was expected in the stored data.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invalid number of keys found, expected one.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DraftGate</name>
    <message>
        <source>[Marks beyond what a letter can carry are left out.]</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[The rest of what was pasted is left out.]</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>GmailProvider</name>
    <message>
        <source>No email in Gmail profile</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No history in Gmail profile</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Please enter a name.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Gmail didn&apos;t return the new label.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Message has no raw content</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>HTTPError</name>
    <message>
        <source>The address of the service can’t be used.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No connection to %1 could be made.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The identity of %1 couldn’t be verified.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 stopped responding.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The answer of %1 was too large.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The connection to %1 broke off.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>IMAPClient</name>
    <message>
        <source>The IMAP server refused the connection.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 doesn&apos;t offer STARTTLS. Try SSL/TLS (usually port 993).</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unexpected data before TLS.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server doesn&apos;t accept password sign-in.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server doesn&apos;t accept OAuth sign-in.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Server response too large.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>IMAPFolders</name>
    <message>
        <source>Please enter a name.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A folder name can’t contain “%1”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This account has no %1 mailbox.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>IMAPMessageID</name>
    <message>
        <source>Unknown message.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This message is no longer on the server.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>IMAPProvider</name>
    <message>
        <source>Missing server settings.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Labels can&apos;t be added to messages in this account; use Move To.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>IMAPResponse</name>
    <message>
        <source>Server response too large.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Server response nested too deeply.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unexpected end of response.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unterminated string.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unterminated list.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Literal too large.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bad literal.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Truncated literal.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unexpected character in response.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>KeychainBackend</name>
    <message>
        <source>The item isn&apos;t in the keyring.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No keyring is running in this session.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The keyring is locked.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>KeychainError</name>
    <message>
        <source>Keychain error %1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven</name>
    <message>
        <source>Unread</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Starred</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Attachments</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>From</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Subject</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Date</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mailbox</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Size</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::AddressLabel</name>
    <message>
        <source>Copy</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::AppModel</name>
    <message>
        <source>many</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1–%2 of %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Label</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server didn&apos;t accept the user name or password. Some providers (iCloud, Yahoo, Gmail) need an app-specific password.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>You signed in as %1, not %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Message</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::AttachmentChip</name>
    <message>
        <source>Save %1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::AttachmentStrip</name>
    <message>
        <source>Remove Attachment</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::AttachmentsRow</name>
    <message>
        <source>Attachments:</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeEditorController</name>
    <message>
        <source>Looking for Suggestions…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add to Dictionary</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ignore</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Spelling Language</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeNotices</name>
    <message>
        <source>And %1 more.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeTextView</name>
    <message>
        <source>Message</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeToolbar</name>
    <message>
        <source>Send (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Attach Files (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Plain Text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rich Text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Bcc field</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Attach</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Format</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bcc</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rich text is sent as HTML with a plain-text copy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Attaching…</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeView</name>
    <message>
        <source>This was being sent when Larkhaven ended. Look in Sent before you send it again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Recovered after Larkhaven ended unexpectedly.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>From:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>To:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cc:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bcc:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Subject:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>What was pasted is more than a field takes, and was left out.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New Message</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>images</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>style sheets</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>large tables</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the look of table cells</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>horizontal lines</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not all of this draft can be kept.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The stored draft holds %1, which will be lost when it is replaced.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send Anyway</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save Anyway</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Looking in Sent…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sending…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Saving…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Message Not Sent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Draft Not Saved</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Message May Have Been Sent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 The text is kept. Before it goes out again, Larkhaven looks for it in Sent.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Do you want to save this message as a draft?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If you don&apos;t save, your changes will be lost.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Don&apos;t Save</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Attaching…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Some Files Weren’t Attached</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeWindows</name>
    <message>
        <source>You have %1 messages with unsaved changes. Do you want to save them as drafts?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If you don&apos;t save, your changes will be lost.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Discard All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Messages are still on their way.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Larkhaven quits as soon as they have been sent or saved.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Larkhaven quits as soon as they have been sent or saved. What you write can’t be kept at the moment: quitting now may lose them.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit Anyway</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::ContentView</name>
    <message>
        <source>Larkhaven</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Something went wrong</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::FormatBar</name>
    <message>
        <source>Fonts</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Fonts (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Smaller</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Default Size</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Default Size (100%)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bigger</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Colors</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Colors</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bold</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bold (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Italic</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Italic (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Underline</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Underline (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Strikethrough</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Align Left</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Center</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Align Right</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bulleted List</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Numbered List</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::IMAPSetupView</name>
    <message>
        <source>Optional</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>iCloud, Yahoo and Gmail need an app-specific password, created in your account&apos;s security settings.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sign In</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Account Setup</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Server</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Security</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Email Address:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Password:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Server Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>User Name:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Incoming (IMAP):</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Outgoing (SMTP):</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Signing in</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sign In Again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add IMAP Account</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Couldn’t Sign In</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::KeptTextsBanner</name>
    <message>
        <source>What you write can’t be kept safe at the moment, and what was kept can’t be opened: your keyring or your disk refuses.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Try Again</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::LabelDialogs</name>
    <message>
        <source>Rename “%1”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New %1 in “%2”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Use “/” to nest, e.g. Travel/2026.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rename</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Create</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The label is removed from its messages; the messages stay in All Mail. Labels nested inside it are kept.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The folder and every message in it are deleted from the server. This can’t be undone.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete %1 “%2”?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::MailToolbar</name>
    <message>
        <source>Show or Hide Sidebar</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Get New Mail (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New Message</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Archive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Junk</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reply</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reply All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Forward</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Star</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Report Spam</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mark as Junk</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::MessageTable</name>
    <message>
        <source>Messages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1 message</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 messages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No Messages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No Results for “%1”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Check the spelling or try a new search.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::MessageTableModel</name>
    <message>
        <source>Unread</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Starred</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Has attachments</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::PagerControl</name>
    <message>
        <source>Jump to the newest or oldest messages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Newer (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Older (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Newest</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Oldest</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::PrivateBrowser</name>
    <message>
        <source>Could not open the sign-in window.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::ReaderBanner</name>
    <message>
        <source>This message contains remote content.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Load Remote Content</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tracking pixels are never loaded, even when remote content is loaded.</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n tracking images blocked</source>
        <translation>
            <numerusform>%n Zählbild blockiert</numerusform>
            <numerusform>%n Zählbilder blockiert</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Larkhaven::ReaderHeaders</name>
    <message>
        <source>Back</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>From:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>To:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cc:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Date:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>(no subject)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Undisclosed recipients</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 at %2</source>
        <comment>a date and a time</comment>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::ReaderView</name>
    <message>
        <source>Parts of this message could not be read.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Source</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This message is no longer available.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>(no subject)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Couldn&apos;t Load Message</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This link may be deceptive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Anyway</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::SearchField</name>
    <message>
        <source>Search</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Clear</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::SecureMessageView</name>
    <message>
        <source>Unable to display this message safely.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::SendAgain</name>
    <message>
        <source>This message may have gone out already: the server never confirmed it. It isn’t in Sent, which proves nothing where the server keeps no copy.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This message is in Sent: it has gone out. Whoever gets it again gets it twice.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This message may have gone out already, and Sent can’t be searched: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send This Message Again?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close Message</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send Again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::SidebarPane</name>
    <message>
        <source>Add Account</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::SidebarView</name>
    <message>
        <source>Sign-in required</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mailboxes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New %1…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New %1 Inside “%2”…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rename “%1”…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete “%1”…</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::SignInBanner</name>
    <message>
        <source>Sign-In Required</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sign In…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 needs to sign in again.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::SignInWindow</name>
    <message>
        <source>Sign-in goes on in your browser, in a private window that opens now. This window closes by itself.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sign In</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Signing in</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sign In with Google</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sign In with Microsoft</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::SourceWindows</name>
    <message>
        <source>(no subject)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Source of “%1”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Source</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::SuggestionList</name>
    <message>
        <source>Suggestions</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::WebAuthenticator</name>
    <message>
        <source>Could not open the sign-in window.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::WelcomeView</name>
    <message>
        <source>Welcome to Larkhaven</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add an account to get started. Google accounts sign in on Google&apos;s own page, so Larkhaven never sees that password. Other providers sign in over IMAP with a password kept in your %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>keyring</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sign In with Google…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sign In with Microsoft…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Other Mail Account (IMAP)…</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>LineReader</name>
    <message>
        <source>Server response too long.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Server response too large.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>LinkCleaner</name>
    <message>
        <source>The link text shows “%1” but it actually goes to “%2”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The address “%1” uses international characters that can imitate another site.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The link points to a raw IP address (%1) instead of a named site.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The link is not encrypted (http).</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>LocalizedError</name>
    <message>
        <source>There is not enough memory.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>An unexpected error occurred.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MailError</name>
    <message>
        <source>The server closed the connection.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server stopped responding.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sign-in failed: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Server error %1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mail protocol error: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This account needs to sign in again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The mail server is temporarily limiting requests. Please wait a minute and try again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancelled.</source>
        <translation>Abgebrochen.</translation>
    </message>
</context>
<context>
    <name>MailProvider</name>
    <message>
        <source>Messages can&apos;t be moved to %1.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Mailbox</name>
    <message>
        <source>Inbox</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Starred</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Flagged</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Drafts</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All Mail</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Archive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Spam</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Junk</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Trash</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MessageComposer</name>
    <message>
        <source>someone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>On %1, %2 wrote:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>---------- Forwarded message ---------</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>From: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Date: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Subject: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>To: %1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>OAuthClient</name>
    <message>
        <source>This computer gives no random numbers.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The answer of the sign-in service can’t be read.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unexpected redirect</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>State mismatch (possible CSRF)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No authorization code</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>QMenu</name>
    <message>
        <source>Edit Draft</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reply</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reply All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Forward</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mark as Read</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mark as Unread</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Star</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove Star</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Archive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not Spam</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Report Spam</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mark as Junk</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move To</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Label As</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New Label…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Messages from Sender</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy Sender Address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Source</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save As…</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>RecipientFields</name>
    <message>
        <source>“%1” isn’t a valid email address, and was left out.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Further addresses that aren’t valid were left out: %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A window doesn’t take that many recipients. Left out: %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Names of recipients that were too long were left out.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>RowText</name>
    <message>
        <source>(no recipient)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>me</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>To: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>(unknown sender)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>(no subject)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Yesterday</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SMTPClient</name>
    <message>
        <source>The mail server said: %1 %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“%1” isn’t a valid email address.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invalid SMTP command.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unexpected SMTP reply.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>SMTP reply too long.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 doesn&apos;t offer STARTTLS. Try SSL/TLS (usually port 465).</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unexpected data before TLS.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 doesn&apos;t accept password sign-in.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 doesn&apos;t accept OAuth sign-in.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“%1” has letters that this mail server doesn’t take in addresses.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SecureHTTP</name>
    <message>
        <source>Refusing non-HTTPS request</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SignInService</name>
    <message>
        <source>Google sign-in isn&apos;t configured. Add GOOGLE_CLIENT_ID to Config/Secrets.xcconfig.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Microsoft sign-in isn&apos;t configured. Add MICROSOFT_CLIENT_ID to Config/Secrets.xcconfig.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The provider did not grant offline access.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No email in Gmail profile</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Microsoft didn&apos;t return the account&apos;s email address.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Outlook&apos;s mail servers didn&apos;t accept the sign-in. In Outlook.com, check Settings ▸ Mail ▸ Forwarding and IMAP ▸ “Let devices and apps use IMAP”.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SortField</name>
    <message>
        <source>Date</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>From</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Subject</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unread</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Starred</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Attachments</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SourceText</name>
    <message>
        <source>[The rest of the source is left out.]</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>StreamTransport</name>
    <message>
        <source>Unexpected data before TLS.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>TLSTrust</name>
    <message>
        <source>The certificate of %1 was issued by an authority that this computer doesn&apos;t trust.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The certificate of %1 has expired.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The certificate of %1 isn&apos;t valid yet.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The certificate that %1 presented belongs to another server.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The certificate of %1 can&apos;t be trusted: %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Writing</name>
    <message>
        <source>[The rest of the message is left out.]</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The subject was too long or had too many marks, and a part of it was left out.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Message</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“%1” isn’t a valid email address.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Please specify at least one recipient.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Parts of the message could not be read. It is attached as a whole: “%1”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The message is too long to be shown whole, and is attached as well: “%1”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Parts of the draft could not be read, and were left out.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[The rest of the draft is left out.]</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This is a copy of a draft that is more than a window can take. Saving it leaves the draft as it is.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>

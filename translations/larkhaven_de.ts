<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>AddAccountItems</name>
    <message>
        <source>Google…</source>
        <translation>Google …</translation>
    </message>
    <message>
        <source>Microsoft (Outlook.com)…</source>
        <translation>Microsoft (Outlook.com) …</translation>
    </message>
    <message>
        <source>Other Mail Account (IMAP)…</source>
        <translation>Anderes E-Mail-Konto (IMAP) …</translation>
    </message>
</context>
<context>
    <name>AuthorizedAPI</name>
    <message>
        <source>The answer of the mail service can’t be read.</source>
        <translation>Die Antwort des Maildienstes ist nicht lesbar.</translation>
    </message>
    <message>
        <source>Unexpected host</source>
        <translation>Unerwarteter Server</translation>
    </message>
    <message>
        <source>Bad request path</source>
        <translation>Ungültiger Pfad der Anfrage</translation>
    </message>
    <message>
        <source>Bad request URL</source>
        <translation>Ungültige URL der Anfrage</translation>
    </message>
</context>
<context>
    <name>CipherError</name>
    <message>
        <source>The stored data is too short.</source>
        <translation>Die gespeicherten Daten sind zu kurz.</translation>
    </message>
    <message>
        <source>The stored data can&apos;t be opened.</source>
        <translation>Die gespeicherten Daten lassen sich nicht öffnen.</translation>
    </message>
    <message>
        <source>Encryption failed.</source>
        <translation>Die Verschlüsselung ist fehlgeschlagen.</translation>
    </message>
</context>
<context>
    <name>ComposeFiles</name>
    <message>
        <source>Couldn&apos;t attach %1. Only files can be attached, up to %2 in total.</source>
        <translation>%1 konnte nicht angehängt werden. Anhängen lassen sich nur Dateien, zusammen bis zu %2.</translation>
    </message>
</context>
<context>
    <name>ConnectionSecurity</name>
    <message>
        <source>SSL/TLS</source>
        <translation>SSL/TLS</translation>
    </message>
    <message>
        <source>STARTTLS</source>
        <translation>STARTTLS</translation>
    </message>
</context>
<context>
    <name>ConnectionTrial</name>
    <message>
        <source>%1 expects SSL/TLS on port %2. Try SSL/TLS.</source>
        <translation>%1 erwartet auf Port %2 SSL/TLS. Versuchen Sie es mit SSL/TLS.</translation>
    </message>
</context>
<context>
    <name>ContentBlocker</name>
    <message>
        <source>Content blocker failed to compile</source>
        <translation>Der Inhaltsblocker konnte nicht eingerichtet werden</translation>
    </message>
</context>
<context>
    <name>Credential</name>
    <message>
        <source>The stored credential can&apos;t be read.</source>
        <translation>Die gespeicherten Zugangsdaten sind nicht lesbar.</translation>
    </message>
</context>
<context>
    <name>DecodingError</name>
    <message>
        <source>The stored value “%1” is missing.</source>
        <translation>Der gespeicherte Wert „%1“ fehlt.</translation>
    </message>
    <message>
        <source>The stored value “%1” can&apos;t be read.</source>
        <translation>Der gespeicherte Wert „%1“ ist nicht lesbar.</translation>
    </message>
    <message>
        <source>The stored data isn&apos;t valid JSON.</source>
        <translation>Die gespeicherten Daten sind kein gültiges JSON.</translation>
    </message>
    <message>
        <source>An object was expected in the stored data.</source>
        <translation>In den gespeicherten Daten wurde ein Objekt erwartet.</translation>
    </message>
    <message>
        <source>A list was expected in the stored data.</source>
        <translation>In den gespeicherten Daten wurde eine Liste erwartet.</translation>
    </message>
    <message>
        <source>Invalid number of keys found, expected one.</source>
        <translation>Ungültige Anzahl von Schlüsseln, erwartet wurde einer.</translation>
    </message>
</context>
<context>
    <name>DraftGate</name>
    <message>
        <source>[Marks beyond what a letter can carry are left out.]</source>
        <translation>[Zeichen, die ein Buchstabe nicht mehr tragen kann, wurden weggelassen.]</translation>
    </message>
    <message>
        <source>[The rest of what was pasted is left out.]</source>
        <translation>[Der Rest des Eingefügten wurde weggelassen.]</translation>
    </message>
</context>
<context>
    <name>GmailProvider</name>
    <message>
        <source>No email in Gmail profile</source>
        <translation>Keine E-Mail-Adresse im Gmail-Profil</translation>
    </message>
    <message>
        <source>No history in Gmail profile</source>
        <translation>Kein Verlauf im Gmail-Profil</translation>
    </message>
    <message>
        <source>Please enter a name.</source>
        <translation>Bitte geben Sie einen Namen ein.</translation>
    </message>
    <message>
        <source>Gmail didn&apos;t return the new label.</source>
        <translation>Gmail hat das neue Label nicht zurückgegeben.</translation>
    </message>
    <message>
        <source>Message has no raw content</source>
        <translation>Die Nachricht hat keinen Rohtext</translation>
    </message>
</context>
<context>
    <name>HTTPError</name>
    <message>
        <source>The address of the service can’t be used.</source>
        <translation>Die Adresse des Dienstes ist nicht verwendbar.</translation>
    </message>
    <message>
        <source>No connection to %1 could be made.</source>
        <translation>Es konnte keine Verbindung zu %1 hergestellt werden.</translation>
    </message>
    <message>
        <source>The identity of %1 couldn’t be verified.</source>
        <translation>Die Identität von %1 konnte nicht bestätigt werden.</translation>
    </message>
    <message>
        <source>%1 stopped responding.</source>
        <translation>%1 antwortet nicht mehr.</translation>
    </message>
    <message>
        <source>The answer of %1 was too large.</source>
        <translation>Die Antwort von %1 war zu groß.</translation>
    </message>
    <message>
        <source>The connection to %1 broke off.</source>
        <translation>Die Verbindung zu %1 ist abgebrochen.</translation>
    </message>
</context>
<context>
    <name>IMAPClient</name>
    <message>
        <source>The IMAP server refused the connection.</source>
        <translation>Der IMAP-Server hat die Verbindung abgelehnt.</translation>
    </message>
    <message>
        <source>%1 doesn&apos;t offer STARTTLS. Try SSL/TLS (usually port 993).</source>
        <translation>%1 bietet kein STARTTLS an. Versuchen Sie es mit SSL/TLS (meist Port 993).</translation>
    </message>
    <message>
        <source>Unexpected data before TLS.</source>
        <translation>Unerwartete Daten vor TLS.</translation>
    </message>
    <message>
        <source>The server doesn&apos;t accept password sign-in.</source>
        <translation>Der Server nimmt keine Anmeldung mit Passwort an.</translation>
    </message>
    <message>
        <source>The server doesn&apos;t accept OAuth sign-in.</source>
        <translation>Der Server nimmt keine Anmeldung mit OAuth an.</translation>
    </message>
    <message>
        <source>Server response too large.</source>
        <translation>Die Antwort des Servers ist zu groß.</translation>
    </message>
    <message>
        <source>Try STARTTLS (usually port 143).</source>
        <translation>Versuchen Sie es mit STARTTLS (meist Port 143).</translation>
    </message>
</context>
<context>
    <name>IMAPFolders</name>
    <message>
        <source>Please enter a name.</source>
        <translation>Bitte geben Sie einen Namen ein.</translation>
    </message>
    <message>
        <source>A folder name can’t contain “%1”.</source>
        <translation>Ein Ordnername darf „%1“ nicht enthalten.</translation>
    </message>
    <message>
        <source>This account has no %1 mailbox.</source>
        <translation>Dieses Konto hat kein Postfach „%1“.</translation>
    </message>
</context>
<context>
    <name>IMAPMessageID</name>
    <message>
        <source>Unknown message.</source>
        <translation>Unbekannte Nachricht.</translation>
    </message>
    <message>
        <source>This message is no longer on the server.</source>
        <translation>Diese Nachricht ist nicht mehr auf dem Server.</translation>
    </message>
</context>
<context>
    <name>IMAPProvider</name>
    <message>
        <source>Missing server settings.</source>
        <translation>Die Servereinstellungen fehlen.</translation>
    </message>
    <message>
        <source>Labels can&apos;t be added to messages in this account; use Move To.</source>
        <translation>In diesem Konto lassen sich Nachrichten keine Labels geben; verwenden Sie „Verschieben nach“.</translation>
    </message>
</context>
<context>
    <name>IMAPResponse</name>
    <message>
        <source>Server response too large.</source>
        <translation>Die Antwort des Servers ist zu groß.</translation>
    </message>
    <message>
        <source>Server response nested too deeply.</source>
        <translation>Die Antwort des Servers ist zu tief verschachtelt.</translation>
    </message>
    <message>
        <source>Unexpected end of response.</source>
        <translation>Unerwartetes Ende der Antwort.</translation>
    </message>
    <message>
        <source>Unterminated string.</source>
        <translation>Zeichenkette ohne Ende.</translation>
    </message>
    <message>
        <source>Unterminated list.</source>
        <translation>Liste ohne Ende.</translation>
    </message>
    <message>
        <source>Literal too large.</source>
        <translation>Literal zu groß.</translation>
    </message>
    <message>
        <source>Bad literal.</source>
        <translation>Ungültiges Literal.</translation>
    </message>
    <message>
        <source>Truncated literal.</source>
        <translation>Abgeschnittenes Literal.</translation>
    </message>
    <message>
        <source>Unexpected character in response.</source>
        <translation>Unerwartetes Zeichen in der Antwort.</translation>
    </message>
</context>
<context>
    <name>KeychainBackend</name>
    <message>
        <source>The item isn&apos;t in the keyring.</source>
        <translation>Der Eintrag ist nicht im Schlüsselbund.</translation>
    </message>
    <message>
        <source>No keyring is running in this session.</source>
        <translation>In dieser Sitzung läuft kein Schlüsselbund.</translation>
    </message>
    <message>
        <source>The keyring is locked.</source>
        <translation>Der Schlüsselbund ist gesperrt.</translation>
    </message>
</context>
<context>
    <name>KeychainError</name>
    <message>
        <source>Keychain error %1</source>
        <translation>Fehler %1 des Schlüsselbunds</translation>
    </message>
</context>
<context>
    <name>Larkhaven::AddressLabel</name>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
</context>
<context>
    <name>Larkhaven::AppModel</name>
    <message>
        <source>many</source>
        <translation>vielen</translation>
    </message>
    <message>
        <source>%1–%2 of %3</source>
        <translation>%1–%2 von %3</translation>
    </message>
    <message>
        <source>Label</source>
        <translation>Label</translation>
    </message>
    <message>
        <source>Folder</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>The server didn&apos;t accept the user name or password. Some providers (iCloud, Yahoo, Gmail) need an app-specific password.</source>
        <translation>Der Server hat den Benutzernamen oder das Passwort nicht angenommen. Manche Anbieter (iCloud, Yahoo, Gmail) verlangen ein App-spezifisches Passwort.</translation>
    </message>
    <message>
        <source>You signed in as %1, not %2.</source>
        <translation>Sie haben sich als %1 angemeldet, nicht als %2.</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>Nachricht</translation>
    </message>
    <message>
        <source>Archived.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Deleted.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Moved to Inbox.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Marked as junk.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Moved to %1.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::AttachmentChip</name>
    <message>
        <source>Save %1</source>
        <translation>%1 sichern</translation>
    </message>
</context>
<context>
    <name>Larkhaven::AttachmentStrip</name>
    <message>
        <source>Remove Attachment</source>
        <translation>Anhang entfernen</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
</context>
<context>
    <name>Larkhaven::AttachmentsRow</name>
    <message>
        <source>Attachments:</source>
        <translation>Anhänge:</translation>
    </message>
</context>
<context>
    <name>Larkhaven::CheckResults</name>
    <message>
        <source>Can’t reach %1.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::CheckStrips</name>
    <message>
        <source>%1 Last checked %2.</source>
        <comment>a sentence, then a time</comment>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Try Again</source>
        <translation type="unfinished">Erneut versuchen</translation>
    </message>
    <message>
        <source>Try %1 Again</source>
        <comment>an account</comment>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeEditorController</name>
    <message>
        <source>Looking for Suggestions…</source>
        <translation>Vorschläge werden gesucht …</translation>
    </message>
    <message>
        <source>Add to Dictionary</source>
        <translation>Zum Wörterbuch hinzufügen</translation>
    </message>
    <message>
        <source>Ignore</source>
        <translation>Ignorieren</translation>
    </message>
    <message>
        <source>Spelling Language</source>
        <translation>Sprache der Rechtschreibprüfung</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeNotices</name>
    <message>
        <source>And %1 more.</source>
        <translation>Und %1 weitere.</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeTextView</name>
    <message>
        <source>Message</source>
        <translation>Nachricht</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeToolbar</name>
    <message>
        <source>Send (%1)</source>
        <translation>Senden (%1)</translation>
    </message>
    <message>
        <source>Attach Files (%1)</source>
        <translation>Dateien anhängen (%1)</translation>
    </message>
    <message>
        <source>Plain Text</source>
        <translation>Reiner Text</translation>
    </message>
    <message>
        <source>Rich Text</source>
        <translation>Formatierter Text</translation>
    </message>
    <message>
        <source>Show Bcc field</source>
        <translation>Bcc-Feld anzeigen</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>Senden</translation>
    </message>
    <message>
        <source>Attach</source>
        <translation>Anhängen</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>Format</translation>
    </message>
    <message>
        <source>Bcc</source>
        <translation>Bcc</translation>
    </message>
    <message>
        <source>Rich text is sent as HTML with a plain-text copy</source>
        <translation>Formatierter Text wird als HTML mit einer Kopie als reinem Text gesendet</translation>
    </message>
    <message>
        <source>Attaching…</source>
        <translation>Wird angehängt …</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeView</name>
    <message>
        <source>This was being sent when Larkhaven ended. Look in Sent before you send it again.</source>
        <translation>Diese Nachricht wurde gerade gesendet, als Larkhaven endete. Sehen Sie in „Gesendet“ nach, bevor Sie sie erneut senden.</translation>
    </message>
    <message>
        <source>Recovered after Larkhaven ended unexpectedly.</source>
        <translation>Wiederhergestellt, nachdem Larkhaven unerwartet beendet wurde.</translation>
    </message>
    <message>
        <source>From:</source>
        <translation>Von:</translation>
    </message>
    <message>
        <source>To:</source>
        <translation>An:</translation>
    </message>
    <message>
        <source>Cc:</source>
        <translation>Cc:</translation>
    </message>
    <message>
        <source>Bcc:</source>
        <translation>Bcc:</translation>
    </message>
    <message>
        <source>Subject:</source>
        <translation>Betreff:</translation>
    </message>
    <message>
        <source>What was pasted is more than a field takes, and was left out.</source>
        <translation>Das Eingefügte ist mehr, als ein Feld aufnimmt, und wurde weggelassen.</translation>
    </message>
    <message>
        <source>New Message</source>
        <translation>Neue Nachricht</translation>
    </message>
    <message>
        <source>images</source>
        <translation>Bilder</translation>
    </message>
    <message>
        <source>style sheets</source>
        <translation>Formatvorlagen</translation>
    </message>
    <message>
        <source>large tables</source>
        <translation>große Tabellen</translation>
    </message>
    <message>
        <source>the look of table cells</source>
        <translation>die Gestaltung von Tabellenzellen</translation>
    </message>
    <message>
        <source>horizontal lines</source>
        <translation>waagerechte Linien</translation>
    </message>
    <message>
        <source>Not all of this draft can be kept.</source>
        <translation>Dieser Entwurf lässt sich nicht ganz erhalten.</translation>
    </message>
    <message>
        <source>The stored draft holds %1, which will be lost when it is replaced.</source>
        <translation>Der gespeicherte Entwurf enthält Teile, die verloren gehen, wenn er ersetzt wird: %1.</translation>
    </message>
    <message>
        <source>Send Anyway</source>
        <translation>Trotzdem senden</translation>
    </message>
    <message>
        <source>Save Anyway</source>
        <translation>Trotzdem sichern</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Looking in Sent…</source>
        <translation>„Gesendet“ wird durchsucht …</translation>
    </message>
    <message>
        <source>Sending…</source>
        <translation>Wird gesendet …</translation>
    </message>
    <message>
        <source>Saving…</source>
        <translation>Wird gesichert …</translation>
    </message>
    <message>
        <source>Message Not Sent</source>
        <translation>Nachricht nicht gesendet</translation>
    </message>
    <message>
        <source>Draft Not Saved</source>
        <translation>Entwurf nicht gesichert</translation>
    </message>
    <message>
        <source>Message May Have Been Sent</source>
        <translation>Nachricht wurde möglicherweise gesendet</translation>
    </message>
    <message>
        <source>%1 The text is kept. Before it goes out again, Larkhaven looks for it in Sent.</source>
        <translation>%1 Der Text bleibt erhalten. Bevor er erneut hinausgeht, sucht Larkhaven ihn in „Gesendet“.</translation>
    </message>
    <message>
        <source>Do you want to save this message as a draft?</source>
        <translation>Möchten Sie diese Nachricht als Entwurf sichern?</translation>
    </message>
    <message>
        <source>If you don&apos;t save, your changes will be lost.</source>
        <translation>Wenn Sie nicht sichern, gehen Ihre Änderungen verloren.</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Sichern</translation>
    </message>
    <message>
        <source>Don&apos;t Save</source>
        <translation>Nicht sichern</translation>
    </message>
    <message>
        <source>Attaching…</source>
        <translation>Wird angehängt …</translation>
    </message>
    <message>
        <source>Some Files Weren’t Attached</source>
        <translation>Einige Dateien wurden nicht angehängt</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeWindows</name>
    <message>
        <source>You have %1 messages with unsaved changes. Do you want to save them as drafts?</source>
        <translation>%1 Nachrichten haben ungesicherte Änderungen. Möchten Sie sie als Entwürfe sichern?</translation>
    </message>
    <message>
        <source>If you don&apos;t save, your changes will be lost.</source>
        <translation>Wenn Sie nicht sichern, gehen Ihre Änderungen verloren.</translation>
    </message>
    <message>
        <source>Save All</source>
        <translation>Alle sichern</translation>
    </message>
    <message>
        <source>Discard All</source>
        <translation>Alle verwerfen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Messages are still on their way.</source>
        <translation>Es sind noch Nachrichten unterwegs.</translation>
    </message>
    <message>
        <source>Larkhaven quits as soon as they have been sent or saved.</source>
        <translation>Larkhaven wird beendet, sobald sie gesendet oder gesichert sind.</translation>
    </message>
    <message>
        <source>Larkhaven quits as soon as they have been sent or saved. What you write can’t be kept at the moment: quitting now may lose them.</source>
        <translation>Larkhaven wird beendet, sobald sie gesendet oder gesichert sind. Was Sie schreiben, kann im Augenblick nicht aufbewahrt werden: Wenn Sie jetzt beenden, gehen sie möglicherweise verloren.</translation>
    </message>
    <message>
        <source>Quit Anyway</source>
        <translation>Trotzdem beenden</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ContentView</name>
    <message>
        <source>Larkhaven</source>
        <translation>Larkhaven</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ErrorAlert</name>
    <message>
        <source>Something went wrong</source>
        <translation type="unfinished">Etwas ist schiefgegangen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::FlatButton</name>
    <message>
        <source>%1 (%2)</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::FormatBar</name>
    <message>
        <source>Fonts</source>
        <translation>Schriften</translation>
    </message>
    <message>
        <source>Show Fonts (%1)</source>
        <translation>Schriften zeigen (%1)</translation>
    </message>
    <message>
        <source>Smaller</source>
        <translation>Kleiner</translation>
    </message>
    <message>
        <source>Default Size</source>
        <translation>Standardgröße</translation>
    </message>
    <message>
        <source>Default Size (100%)</source>
        <translation>Standardgröße (100%)</translation>
    </message>
    <message>
        <source>Bigger</source>
        <translation>Größer</translation>
    </message>
    <message>
        <source>Colors</source>
        <translation>Farben</translation>
    </message>
    <message>
        <source>Show Colors</source>
        <translation>Farben zeigen</translation>
    </message>
    <message>
        <source>Bold</source>
        <translation>Fett</translation>
    </message>
    <message>
        <source>Bold (%1)</source>
        <translation>Fett (%1)</translation>
    </message>
    <message>
        <source>Italic</source>
        <translation>Kursiv</translation>
    </message>
    <message>
        <source>Italic (%1)</source>
        <translation>Kursiv (%1)</translation>
    </message>
    <message>
        <source>Underline</source>
        <translation>Unterstrichen</translation>
    </message>
    <message>
        <source>Underline (%1)</source>
        <translation>Unterstrichen (%1)</translation>
    </message>
    <message>
        <source>Strikethrough</source>
        <translation>Durchgestrichen</translation>
    </message>
    <message>
        <source>Align Left</source>
        <translation>Linksbündig</translation>
    </message>
    <message>
        <source>Center</source>
        <translation>Zentriert</translation>
    </message>
    <message>
        <source>Align Right</source>
        <translation>Rechtsbündig</translation>
    </message>
    <message>
        <source>Bulleted List</source>
        <translation>Aufzählung</translation>
    </message>
    <message>
        <source>Numbered List</source>
        <translation>Nummerierte Liste</translation>
    </message>
</context>
<context>
    <name>Larkhaven::IMAPSetupView</name>
    <message>
        <source>Optional</source>
        <translation>Optional</translation>
    </message>
    <message>
        <source>iCloud, Yahoo and Gmail need an app-specific password, created in your account&apos;s security settings.</source>
        <translation>iCloud, Yahoo und Gmail verlangen ein App-spezifisches Passwort, das Sie in den Sicherheitseinstellungen Ihres Kontos anlegen.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Sign In</source>
        <translation>Anmelden</translation>
    </message>
    <message>
        <source>Account Setup</source>
        <translation>Konto einrichten</translation>
    </message>
    <message>
        <source>Name:</source>
        <translation>Name:</translation>
    </message>
    <message>
        <source>Email Address:</source>
        <translation>E-Mail-Adresse:</translation>
    </message>
    <message>
        <source>Password:</source>
        <translation>Passwort:</translation>
    </message>
    <message>
        <source>Server Settings</source>
        <translation>Servereinstellungen</translation>
    </message>
    <message>
        <source>User Name:</source>
        <translation>Benutzername:</translation>
    </message>
    <message>
        <source>Incoming (IMAP):</source>
        <translation>Posteingang (IMAP):</translation>
    </message>
    <message>
        <source>Outgoing (SMTP):</source>
        <translation>Postausgang (SMTP):</translation>
    </message>
    <message>
        <source>Signing in</source>
        <translation>Anmeldung läuft</translation>
    </message>
    <message>
        <source>Sign In Again</source>
        <translation>Erneut anmelden</translation>
    </message>
    <message>
        <source>Add IMAP Account</source>
        <translation>IMAP-Konto hinzufügen</translation>
    </message>
    <message>
        <source>Couldn’t Sign In</source>
        <translation>Anmeldung nicht möglich</translation>
    </message>
    <message>
        <source>Incoming Server</source>
        <translation>Posteingangsserver</translation>
    </message>
    <message>
        <source>Port of the Incoming Server</source>
        <translation>Port des Posteingangsservers</translation>
    </message>
    <message>
        <source>Security of the Incoming Server</source>
        <translation>Sicherheit des Posteingangsservers</translation>
    </message>
    <message>
        <source>Outgoing Server</source>
        <translation>Postausgangsserver</translation>
    </message>
    <message>
        <source>Port of the Outgoing Server</source>
        <translation>Port des Postausgangsservers</translation>
    </message>
    <message>
        <source>Security of the Outgoing Server</source>
        <translation>Sicherheit des Postausgangsservers</translation>
    </message>
    <message>
        <source>Checking the incoming server…</source>
        <translation>Posteingangsserver wird geprüft …</translation>
    </message>
    <message>
        <source>Checking the outgoing server…</source>
        <translation>Postausgangsserver wird geprüft …</translation>
    </message>
    <message>
        <source>Incoming server: %1, port %2.</source>
        <translation>Posteingangsserver: %1, Port %2.</translation>
    </message>
    <message>
        <source>Outgoing server: %1, port %2.</source>
        <translation>Postausgangsserver: %1, Port %2.</translation>
    </message>
    <message>
        <source>Its name was only guessed from your email address; your provider knows the right one.</source>
        <translation>Sein Name wurde nur aus Ihrer E-Mail-Adresse erraten; den richtigen kennt Ihr Anbieter.</translation>
    </message>
</context>
<context>
    <name>Larkhaven::KeptTextsBanner</name>
    <message>
        <source>What you write can’t be kept safe at the moment, and what was kept can’t be opened: your keyring or your disk refuses.</source>
        <translation>Was Sie schreiben, kann im Augenblick nicht sicher aufbewahrt werden, und bereits Aufbewahrtes lässt sich nicht öffnen: Ihr Schlüsselbund oder Ihr Datenträger verweigert den Zugriff.</translation>
    </message>
    <message>
        <source>Try Again</source>
        <translation>Erneut versuchen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::LabelDialogs</name>
    <message>
        <source>Rename “%1”</source>
        <translation>„%1“ umbenennen</translation>
    </message>
    <message>
        <source>New %1 in “%2”</source>
        <translation>%1 in „%2“ anlegen</translation>
    </message>
    <message>
        <source>New %1</source>
        <translation>%1 anlegen</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Use “/” to nest, e.g. Travel/2026.</source>
        <translation>Mit „/“ verschachteln Sie, z. B. Reisen/2026.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Rename</source>
        <translation>Umbenennen</translation>
    </message>
    <message>
        <source>Create</source>
        <translation>Anlegen</translation>
    </message>
    <message>
        <source>The label is removed from its messages; the messages stay in All Mail. Labels nested inside it are kept.</source>
        <translation>Das Label wird von seinen Nachrichten entfernt; die Nachrichten bleiben in „Alle Nachrichten“. Darin verschachtelte Labels bleiben erhalten.</translation>
    </message>
    <message>
        <source>The folder and every message in it are deleted from the server. This can’t be undone.</source>
        <translation>Der Ordner und alle Nachrichten darin werden vom Server gelöscht. Das lässt sich nicht rückgängig machen.</translation>
    </message>
    <message>
        <source>Delete %1 “%2”?</source>
        <translation>%1 „%2“ löschen?</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::MailCommands</name>
    <message>
        <source>&amp;File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New Message</source>
        <translation type="unfinished">Neue Nachricht</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Undo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Redo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cut</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy</source>
        <translation type="unfinished">Kopieren</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Find…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Preview Text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Make Text Bigger</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Make Text Smaller</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Actual Size</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Columns</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Sidebar</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sort By</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sort This Page By</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Order</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ascending</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Descending</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Mailbox</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Get All New Mail</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Account</source>
        <translation type="unfinished">Konto hinzufügen</translation>
    </message>
    <message>
        <source>Accounts…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Newest Messages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Newer Messages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Older Messages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Oldest Messages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Go To</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New %1…</source>
        <translation type="unfinished">%1 anlegen …</translation>
    </message>
    <message>
        <source>Rename “%1”…</source>
        <translation type="unfinished">„%1“ umbenennen …</translation>
    </message>
    <message>
        <source>Rename %1…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete “%1”…</source>
        <translation type="unfinished">„%1“ löschen …</translation>
    </message>
    <message>
        <source>Delete %1…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>M&amp;essage</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>About Larkhaven</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Larkhaven %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A mail client that trusts no message. Free software under the GNU General Public License, version 3 or later.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::MailToolbar</name>
    <message>
        <source>Show or Hide Sidebar</source>
        <translation>Seitenleiste ein- oder ausblenden</translation>
    </message>
    <message>
        <source>New Message</source>
        <translation>Neue Nachricht</translation>
    </message>
    <message>
        <source>Archive</source>
        <translation>Archivieren</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Reply</source>
        <translation>Antworten</translation>
    </message>
    <message>
        <source>Reply All</source>
        <translation>Allen antworten</translation>
    </message>
    <message>
        <source>Forward</source>
        <translation>Weiterleiten</translation>
    </message>
    <message>
        <source>Star</source>
        <translation>Markieren</translation>
    </message>
    <message>
        <source>Report Spam</source>
        <translation>Spam melden</translation>
    </message>
    <message>
        <source>Mark as Junk</source>
        <translation>Als Werbung kennzeichnen</translation>
    </message>
    <message>
        <source>Get New Mail</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::MessageActions</name>
    <message>
        <source>Edit Draft</source>
        <translation type="unfinished">Entwurf bearbeiten</translation>
    </message>
    <message>
        <source>Open</source>
        <translation type="unfinished">Öffnen</translation>
    </message>
    <message>
        <source>Reply</source>
        <translation type="unfinished">Antworten</translation>
    </message>
    <message>
        <source>Reply All</source>
        <translation type="unfinished">Allen antworten</translation>
    </message>
    <message>
        <source>Forward</source>
        <translation type="unfinished">Weiterleiten</translation>
    </message>
    <message>
        <source>Mark as Read</source>
        <translation type="unfinished">Als gelesen kennzeichnen</translation>
    </message>
    <message>
        <source>Mark as Unread</source>
        <translation type="unfinished">Als ungelesen kennzeichnen</translation>
    </message>
    <message>
        <source>Add Star</source>
        <translation type="unfinished">Markieren</translation>
    </message>
    <message>
        <source>Remove Star</source>
        <translation type="unfinished">Markierung entfernen</translation>
    </message>
    <message>
        <source>Archive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move To</source>
        <translation type="unfinished">Verschieben nach</translation>
    </message>
    <message>
        <source>Label As</source>
        <translation type="unfinished">Label zuweisen</translation>
    </message>
    <message>
        <source>Not Spam</source>
        <translation type="unfinished">Kein Spam</translation>
    </message>
    <message>
        <source>Report Spam</source>
        <translation type="unfinished">Spam melden</translation>
    </message>
    <message>
        <source>Mark as Junk</source>
        <translation type="unfinished">Als Werbung kennzeichnen</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation type="unfinished">Löschen</translation>
    </message>
    <message>
        <source>New Label…</source>
        <translation type="unfinished">Neues Label …</translation>
    </message>
    <message>
        <source>Show Messages from Sender</source>
        <translation type="unfinished">Nachrichten dieses Absenders zeigen</translation>
    </message>
    <message>
        <source>Copy Sender Address</source>
        <translation type="unfinished">Adresse des Absenders kopieren</translation>
    </message>
    <message>
        <source>Save As…</source>
        <translation type="unfinished">Sichern unter …</translation>
    </message>
    <message>
        <source>Show Source</source>
        <translation type="unfinished">Quelltext zeigen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::MessageTable</name>
    <message>
        <source>Messages</source>
        <translation>Nachrichten</translation>
    </message>
    <message>
        <source>No Messages</source>
        <translation>Keine Nachrichten</translation>
    </message>
    <message>
        <source>No Results for “%1”</source>
        <translation>Keine Ergebnisse für „%1“</translation>
    </message>
    <message>
        <source>Check the spelling or try a new search.</source>
        <translation>Prüfen Sie die Schreibweise oder versuchen Sie eine neue Suche.</translation>
    </message>
    <message numerus="yes">
        <source>%n messages</source>
        <comment>that are dragged</comment>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>Messages Not Loaded</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>They show as soon as the mail service answers.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::MessageTableHeader</name>
    <message>
        <source>A click on a title sorts this page</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::MessageTableModel</name>
    <message>
        <source>Unread</source>
        <translation>Ungelesen</translation>
    </message>
    <message>
        <source>Starred</source>
        <translation>Markiert</translation>
    </message>
    <message>
        <source>Has attachments</source>
        <translation>Hat Anhänge</translation>
    </message>
</context>
<context>
    <name>Larkhaven::PagerControl</name>
    <message>
        <source>Jump to the newest or oldest messages</source>
        <translation>Zu den neuesten oder ältesten Nachrichten springen</translation>
    </message>
    <message>
        <source>Newest</source>
        <translation>Neueste</translation>
    </message>
    <message>
        <source>Oldest</source>
        <translation>Älteste</translation>
    </message>
    <message>
        <source>Newer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Older</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::PrivateBrowser</name>
    <message>
        <source>Could not open the sign-in window.</source>
        <translation>Das Anmeldefenster konnte nicht geöffnet werden.</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ReaderBanner</name>
    <message>
        <source>This message contains remote content.</source>
        <translation>Diese Nachricht enthält externe Inhalte.</translation>
    </message>
    <message>
        <source>Load Remote Content</source>
        <translation>Externe Inhalte laden</translation>
    </message>
    <message>
        <source>Tracking pixels are never loaded, even when remote content is loaded.</source>
        <translation>Zählbilder werden nie geladen, auch wenn externe Inhalte geladen werden.</translation>
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
        <translation>Zurück</translation>
    </message>
    <message>
        <source>From:</source>
        <translation>Von:</translation>
    </message>
    <message>
        <source>To:</source>
        <translation>An:</translation>
    </message>
    <message>
        <source>Cc:</source>
        <translation>Cc:</translation>
    </message>
    <message>
        <source>Date:</source>
        <translation>Datum:</translation>
    </message>
    <message>
        <source>(no subject)</source>
        <translation>(kein Betreff)</translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>Unbekannt</translation>
    </message>
    <message>
        <source>Undisclosed recipients</source>
        <translation>Ungenannte Empfänger</translation>
    </message>
    <message>
        <source>%1 at %2</source>
        <comment>a date and a time</comment>
        <translation>%1 um %2</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ReaderView</name>
    <message>
        <source>Parts of this message could not be read.</source>
        <translation>Teile dieser Nachricht konnten nicht gelesen werden.</translation>
    </message>
    <message>
        <source>Show Source</source>
        <translation>Quelltext zeigen</translation>
    </message>
    <message>
        <source>This message is no longer available.</source>
        <translation>Diese Nachricht ist nicht mehr verfügbar.</translation>
    </message>
    <message>
        <source>(no subject)</source>
        <translation>(kein Betreff)</translation>
    </message>
    <message>
        <source>Couldn&apos;t Load Message</source>
        <translation>Nachricht konnte nicht geladen werden</translation>
    </message>
    <message>
        <source>This link may be deceptive</source>
        <translation>Dieser Link führt Sie möglicherweise in die Irre</translation>
    </message>
    <message>
        <source>Open Anyway</source>
        <translation>Trotzdem öffnen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::SearchField</name>
    <message>
        <source>Search</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Löschen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::SearchLine</name>
    <message>
        <source>Clear</source>
        <translation type="unfinished">Löschen</translation>
    </message>
    <message>
        <source>Clear Search</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Searching for “%1” in %2…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No answer about “%1” in %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Results for “%1” in %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%Ln results for “%1” in %2</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Larkhaven::SecureMessageView</name>
    <message>
        <source>Unable to display this message safely.</source>
        <translation>Diese Nachricht kann nicht sicher angezeigt werden.</translation>
    </message>
</context>
<context>
    <name>Larkhaven::SendAgain</name>
    <message>
        <source>This message may have gone out already: the server never confirmed it. It isn’t in Sent, which proves nothing where the server keeps no copy.</source>
        <translation>Diese Nachricht ist möglicherweise schon hinausgegangen: Der Server hat es nie bestätigt. In „Gesendet“ ist sie nicht, was aber nichts beweist, wo der Server keine Kopie behält.</translation>
    </message>
    <message>
        <source>This message is in Sent: it has gone out. Whoever gets it again gets it twice.</source>
        <translation>Diese Nachricht ist in „Gesendet“, sie ist also hinausgegangen. Wer sie noch einmal bekommt, bekommt sie doppelt.</translation>
    </message>
    <message>
        <source>This message may have gone out already, and Sent can’t be searched: %1</source>
        <translation>Diese Nachricht ist möglicherweise schon hinausgegangen, und „Gesendet“ lässt sich nicht durchsuchen: %1</translation>
    </message>
    <message>
        <source>Send This Message Again?</source>
        <translation>Diese Nachricht erneut senden?</translation>
    </message>
    <message>
        <source>Close Message</source>
        <translation>Nachricht schließen</translation>
    </message>
    <message>
        <source>Send Again</source>
        <translation>Erneut senden</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ServerFields</name>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>Port</translation>
    </message>
    <message>
        <source>Security</source>
        <translation>Sicherheit</translation>
    </message>
</context>
<context>
    <name>Larkhaven::SidebarPane</name>
    <message>
        <source>Add Account</source>
        <translation>Konto hinzufügen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::SidebarView</name>
    <message>
        <source>Sign-in required</source>
        <translation>Anmeldung erforderlich</translation>
    </message>
    <message>
        <source>Mailboxes</source>
        <translation>Postfächer</translation>
    </message>
    <message>
        <source>New %1…</source>
        <translation>%1 anlegen …</translation>
    </message>
    <message>
        <source>New %1 Inside “%2”…</source>
        <translation>%1 in „%2“ anlegen …</translation>
    </message>
    <message>
        <source>Rename “%1”…</source>
        <translation>„%1“ umbenennen …</translation>
    </message>
    <message>
        <source>Delete “%1”…</source>
        <translation>„%1“ löschen …</translation>
    </message>
    <message>
        <source>Sign In…</source>
        <translation type="unfinished">Anmelden …</translation>
    </message>
</context>
<context>
    <name>Larkhaven::SignInBanner</name>
    <message>
        <source>Sign-In Required</source>
        <translation>Anmeldung erforderlich</translation>
    </message>
    <message>
        <source>Sign In…</source>
        <translation>Anmelden …</translation>
    </message>
    <message>
        <source>%1 needs to sign in again.</source>
        <translation>%1 muss sich erneut anmelden.</translation>
    </message>
</context>
<context>
    <name>Larkhaven::SignInWindow</name>
    <message>
        <source>Sign-in goes on in your browser, in a private window that opens now. This window closes by itself.</source>
        <translation>Die Anmeldung geht in Ihrem Browser weiter, in einem privaten Fenster, das sich jetzt öffnet. Dieses Fenster schließt sich von selbst.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Sign In</source>
        <translation>Anmelden</translation>
    </message>
    <message>
        <source>Signing in</source>
        <translation>Anmeldung läuft</translation>
    </message>
    <message>
        <source>Sign In with Google</source>
        <translation>Mit Google anmelden</translation>
    </message>
    <message>
        <source>Sign In with Microsoft</source>
        <translation>Mit Microsoft anmelden</translation>
    </message>
</context>
<context>
    <name>Larkhaven::SourceWindows</name>
    <message>
        <source>(no subject)</source>
        <translation>(kein Betreff)</translation>
    </message>
    <message>
        <source>Source of “%1”</source>
        <translation>Quelltext von „%1“</translation>
    </message>
    <message>
        <source>Source</source>
        <translation>Quelltext</translation>
    </message>
</context>
<context>
    <name>Larkhaven::SuggestionList</name>
    <message>
        <source>Suggestions</source>
        <translation>Vorschläge</translation>
    </message>
</context>
<context>
    <name>Larkhaven::UndoLine</name>
    <message>
        <source>Undo</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Larkhaven::WebAuthenticator</name>
    <message>
        <source>Could not open the sign-in window.</source>
        <translation>Das Anmeldefenster konnte nicht geöffnet werden.</translation>
    </message>
</context>
<context>
    <name>Larkhaven::WelcomeView</name>
    <message>
        <source>Welcome to Larkhaven</source>
        <translation>Willkommen bei Larkhaven</translation>
    </message>
    <message>
        <source>Add an account to get started. Google accounts sign in on Google&apos;s own page, so Larkhaven never sees that password. Other providers sign in over IMAP with a password kept in your %1.</source>
        <translation>Fügen Sie zuerst ein Konto hinzu. Google-Konten melden sich auf Googles eigener Seite an, sodass Larkhaven dieses Passwort nie zu sehen bekommt. Andere Anbieter melden sich über IMAP mit einem Passwort an, das dort aufbewahrt wird: %1.</translation>
    </message>
    <message>
        <source>keyring</source>
        <translation>Schlüsselbund</translation>
    </message>
    <message>
        <source>Sign In with Google…</source>
        <translation>Mit Google anmelden …</translation>
    </message>
    <message>
        <source>Sign In with Microsoft…</source>
        <translation>Mit Microsoft anmelden …</translation>
    </message>
    <message>
        <source>Other Mail Account (IMAP)…</source>
        <translation>Anderes E-Mail-Konto (IMAP) …</translation>
    </message>
</context>
<context>
    <name>LineReader</name>
    <message>
        <source>Server response too long.</source>
        <translation>Die Antwort des Servers ist zu lang.</translation>
    </message>
    <message>
        <source>Server response too large.</source>
        <translation>Die Antwort des Servers ist zu groß.</translation>
    </message>
</context>
<context>
    <name>LinkCleaner</name>
    <message>
        <source>The link text shows “%1” but it actually goes to “%2”.</source>
        <translation>Der Text des Links zeigt „%1“, er führt aber zu „%2“.</translation>
    </message>
    <message>
        <source>The address “%1” uses international characters that can imitate another site.</source>
        <translation>Die Adresse „%1“ enthält internationale Zeichen, mit denen sich eine andere Website nachahmen lässt.</translation>
    </message>
    <message>
        <source>The link points to a raw IP address (%1) instead of a named site.</source>
        <translation>Der Link führt zu einer bloßen IP-Adresse (%1) statt zu einer Website mit Namen.</translation>
    </message>
    <message>
        <source>The link is not encrypted (http).</source>
        <translation>Der Link ist nicht verschlüsselt (http).</translation>
    </message>
</context>
<context>
    <name>LocalizedError</name>
    <message>
        <source>There is not enough memory.</source>
        <translation>Der Arbeitsspeicher reicht nicht aus.</translation>
    </message>
    <message>
        <source>An unexpected error occurred.</source>
        <translation>Ein unerwarteter Fehler ist aufgetreten.</translation>
    </message>
</context>
<context>
    <name>MailError</name>
    <message>
        <source>The server closed the connection.</source>
        <translation>Der Server hat die Verbindung geschlossen.</translation>
    </message>
    <message>
        <source>The server stopped responding.</source>
        <translation>Der Server antwortet nicht mehr.</translation>
    </message>
    <message>
        <source>Sign-in failed: %1</source>
        <translation>Anmeldung fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>Server error %1: %2</source>
        <translation>Serverfehler %1: %2</translation>
    </message>
    <message>
        <source>Mail protocol error: %1</source>
        <translation>Fehler im Mailprotokoll: %1</translation>
    </message>
    <message>
        <source>This account needs to sign in again.</source>
        <translation>Dieses Konto muss sich erneut anmelden.</translation>
    </message>
    <message>
        <source>The mail server is temporarily limiting requests. Please wait a minute and try again.</source>
        <translation>Der Mailserver begrenzt vorübergehend die Zahl der Anfragen. Bitte warten Sie eine Minute und versuchen Sie es erneut.</translation>
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
        <translation>Nachrichten lassen sich nicht nach „%1“ verschieben.</translation>
    </message>
    <message>
        <source>These messages can’t be moved back.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Mailbox</name>
    <message>
        <source>Inbox</source>
        <translation>Posteingang</translation>
    </message>
    <message>
        <source>Starred</source>
        <translation>Markiert</translation>
    </message>
    <message>
        <source>Flagged</source>
        <translation>Markiert</translation>
    </message>
    <message>
        <source>Sent</source>
        <translation>Gesendet</translation>
    </message>
    <message>
        <source>Drafts</source>
        <translation>Entwürfe</translation>
    </message>
    <message>
        <source>All Mail</source>
        <translation>Alle Nachrichten</translation>
    </message>
    <message>
        <source>Archive</source>
        <translation>Archiv</translation>
    </message>
    <message>
        <source>Spam</source>
        <translation>Spam</translation>
    </message>
    <message>
        <source>Junk</source>
        <translation>Werbung</translation>
    </message>
    <message>
        <source>Trash</source>
        <translation>Papierkorb</translation>
    </message>
</context>
<context>
    <name>MessageColumn</name>
    <message>
        <source>Unread</source>
        <translation type="unfinished">Ungelesen</translation>
    </message>
    <message>
        <source>Starred</source>
        <translation type="unfinished">Markiert</translation>
    </message>
    <message>
        <source>Attachments</source>
        <translation type="unfinished">Anhänge</translation>
    </message>
    <message>
        <source>From</source>
        <translation type="unfinished">Von</translation>
    </message>
    <message>
        <source>Subject</source>
        <translation type="unfinished">Betreff</translation>
    </message>
    <message>
        <source>Date</source>
        <translation type="unfinished">Datum</translation>
    </message>
    <message>
        <source>Mailbox</source>
        <translation type="unfinished">Postfach</translation>
    </message>
    <message>
        <source>Size</source>
        <translation type="unfinished">Größe</translation>
    </message>
</context>
<context>
    <name>MessageComposer</name>
    <message>
        <source>someone</source>
        <translation>jemand</translation>
    </message>
    <message>
        <source>On %1, %2 wrote:</source>
        <translation>Am %1 schrieb %2:</translation>
    </message>
    <message>
        <source>---------- Forwarded message ---------</source>
        <translation>---------- Weitergeleitete Nachricht ---------</translation>
    </message>
    <message>
        <source>From: %1</source>
        <translation>Von: %1</translation>
    </message>
    <message>
        <source>Date: %1</source>
        <translation>Datum: %1</translation>
    </message>
    <message>
        <source>Subject: %1</source>
        <translation>Betreff: %1</translation>
    </message>
    <message>
        <source>To: %1</source>
        <translation>An: %1</translation>
    </message>
</context>
<context>
    <name>OAuthClient</name>
    <message>
        <source>This computer gives no random numbers.</source>
        <translation>Dieser Computer liefert keine Zufallszahlen.</translation>
    </message>
    <message>
        <source>The answer of the sign-in service can’t be read.</source>
        <translation>Die Antwort des Anmeldedienstes ist nicht lesbar.</translation>
    </message>
    <message>
        <source>Unexpected redirect</source>
        <translation>Unerwartete Weiterleitung</translation>
    </message>
    <message>
        <source>State mismatch (possible CSRF)</source>
        <translation>Der Zustand stimmt nicht überein (möglicherweise CSRF)</translation>
    </message>
    <message>
        <source>No authorization code</source>
        <translation>Kein Autorisierungscode</translation>
    </message>
</context>
<context>
    <name>RecipientFields</name>
    <message>
        <source>“%1” isn’t a valid email address, and was left out.</source>
        <translation>„%1“ ist keine gültige E-Mail-Adresse und wurde weggelassen.</translation>
    </message>
    <message>
        <source>Further addresses that aren’t valid were left out: %1.</source>
        <translation>Weitere ungültige Adressen wurden weggelassen: %1.</translation>
    </message>
    <message>
        <source>A window doesn’t take that many recipients. Left out: %1.</source>
        <translation>So viele Empfänger fasst ein Fenster nicht. Weggelassen: %1.</translation>
    </message>
    <message>
        <source>Names of recipients that were too long were left out.</source>
        <translation>Zu lange Namen von Empfängern wurden weggelassen.</translation>
    </message>
</context>
<context>
    <name>RowText</name>
    <message>
        <source>(no recipient)</source>
        <translation>(kein Empfänger)</translation>
    </message>
    <message>
        <source>me</source>
        <translation>mich</translation>
    </message>
    <message>
        <source>To: %1</source>
        <translation>An: %1</translation>
    </message>
    <message>
        <source>(unknown sender)</source>
        <translation>(unbekannter Absender)</translation>
    </message>
    <message>
        <source>(no subject)</source>
        <translation>(kein Betreff)</translation>
    </message>
    <message>
        <source>Yesterday</source>
        <translation>Gestern</translation>
    </message>
</context>
<context>
    <name>SMTPClient</name>
    <message>
        <source>The mail server said: %1 %2</source>
        <translation>Der Mailserver meldet: %1 %2</translation>
    </message>
    <message>
        <source>“%1” isn’t a valid email address.</source>
        <translation>„%1“ ist keine gültige E-Mail-Adresse.</translation>
    </message>
    <message>
        <source>Invalid SMTP command.</source>
        <translation>Ungültiger SMTP-Befehl.</translation>
    </message>
    <message>
        <source>Unexpected SMTP reply.</source>
        <translation>Unerwartete SMTP-Antwort.</translation>
    </message>
    <message>
        <source>SMTP reply too long.</source>
        <translation>SMTP-Antwort zu lang.</translation>
    </message>
    <message>
        <source>%1 doesn&apos;t offer STARTTLS. Try SSL/TLS (usually port 465).</source>
        <translation>%1 bietet kein STARTTLS an. Versuchen Sie es mit SSL/TLS (meist Port 465).</translation>
    </message>
    <message>
        <source>Unexpected data before TLS.</source>
        <translation>Unerwartete Daten vor TLS.</translation>
    </message>
    <message>
        <source>%1 doesn&apos;t accept password sign-in.</source>
        <translation>%1 nimmt keine Anmeldung mit Passwort an.</translation>
    </message>
    <message>
        <source>%1 doesn&apos;t accept OAuth sign-in.</source>
        <translation>%1 nimmt keine Anmeldung mit OAuth an.</translation>
    </message>
    <message>
        <source>“%1” has letters that this mail server doesn’t take in addresses.</source>
        <translation>„%1“ enthält Buchstaben, die dieser Mailserver in Adressen nicht annimmt.</translation>
    </message>
    <message>
        <source>Try STARTTLS (usually port 587).</source>
        <translation>Versuchen Sie es mit STARTTLS (meist Port 587).</translation>
    </message>
</context>
<context>
    <name>SecureHTTP</name>
    <message>
        <source>Refusing non-HTTPS request</source>
        <translation>Anfrage ohne HTTPS abgelehnt</translation>
    </message>
</context>
<context>
    <name>SignInService</name>
    <message>
        <source>Google sign-in isn&apos;t configured. Add GOOGLE_CLIENT_ID to Config/Secrets.xcconfig.</source>
        <translation>Die Anmeldung bei Google ist nicht eingerichtet. Tragen Sie GOOGLE_CLIENT_ID in Config/Secrets.xcconfig ein.</translation>
    </message>
    <message>
        <source>Microsoft sign-in isn&apos;t configured. Add MICROSOFT_CLIENT_ID to Config/Secrets.xcconfig.</source>
        <translation>Die Anmeldung bei Microsoft ist nicht eingerichtet. Tragen Sie MICROSOFT_CLIENT_ID in Config/Secrets.xcconfig ein.</translation>
    </message>
    <message>
        <source>The provider did not grant offline access.</source>
        <translation>Der Anbieter hat keinen dauerhaften Zugriff gewährt.</translation>
    </message>
    <message>
        <source>No email in Gmail profile</source>
        <translation>Keine E-Mail-Adresse im Gmail-Profil</translation>
    </message>
    <message>
        <source>Microsoft didn&apos;t return the account&apos;s email address.</source>
        <translation>Microsoft hat die E-Mail-Adresse des Kontos nicht mitgeteilt.</translation>
    </message>
    <message>
        <source>Outlook&apos;s mail servers didn&apos;t accept the sign-in. In Outlook.com, check Settings ▸ Mail ▸ Forwarding and IMAP ▸ “Let devices and apps use IMAP”.</source>
        <translation>Die Mailserver von Outlook haben die Anmeldung nicht angenommen. Prüfen Sie in Outlook.com unter Einstellungen ▸ E-Mail ▸ Weiterleitung und IMAP, ob Geräte und Apps IMAP verwenden dürfen.</translation>
    </message>
</context>
<context>
    <name>SortField</name>
    <message>
        <source>Date</source>
        <translation>Datum</translation>
    </message>
    <message>
        <source>From</source>
        <translation>Von</translation>
    </message>
    <message>
        <source>Subject</source>
        <translation>Betreff</translation>
    </message>
    <message>
        <source>Unread</source>
        <translation>Ungelesen</translation>
    </message>
    <message>
        <source>Starred</source>
        <translation>Markiert</translation>
    </message>
    <message>
        <source>Attachments</source>
        <translation>Anhänge</translation>
    </message>
</context>
<context>
    <name>SourceText</name>
    <message>
        <source>[The rest of the source is left out.]</source>
        <translation>[Der Rest des Quelltexts wurde weggelassen.]</translation>
    </message>
</context>
<context>
    <name>StreamTransport</name>
    <message>
        <source>Unexpected data before TLS.</source>
        <translation>Unerwartete Daten vor TLS.</translation>
    </message>
    <message>
        <source>%1 doesn’t speak SSL/TLS on port %2.</source>
        <translation>%1 spricht auf Port %2 kein SSL/TLS.</translation>
    </message>
    <message>
        <source>No secure connection to %1 could be made on port %2.</source>
        <translation>Auf Port %2 konnte keine sichere Verbindung zu %1 hergestellt werden.</translation>
    </message>
</context>
<context>
    <name>TLSTrust</name>
    <message>
        <source>The certificate of %1 was issued by an authority that this computer doesn&apos;t trust.</source>
        <translation>Das Zertifikat von %1 wurde von einer Stelle ausgestellt, der dieser Computer nicht vertraut.</translation>
    </message>
    <message>
        <source>The certificate of %1 has expired.</source>
        <translation>Das Zertifikat von %1 ist abgelaufen.</translation>
    </message>
    <message>
        <source>The certificate of %1 isn&apos;t valid yet.</source>
        <translation>Das Zertifikat von %1 ist noch nicht gültig.</translation>
    </message>
    <message>
        <source>The certificate that %1 presented belongs to another server.</source>
        <translation>Das Zertifikat, das %1 vorgelegt hat, gehört einem anderen Server.</translation>
    </message>
    <message>
        <source>The certificate of %1 can&apos;t be trusted: %2</source>
        <translation>Dem Zertifikat von %1 kann nicht vertraut werden: %2</translation>
    </message>
</context>
<context>
    <name>Writing</name>
    <message>
        <source>[The rest of the message is left out.]</source>
        <translation>[Der Rest der Nachricht wurde weggelassen.]</translation>
    </message>
    <message>
        <source>The subject was too long or had too many marks, and a part of it was left out.</source>
        <translation>Der Betreff war zu lang oder hatte zu viele Zeichen, und ein Teil davon wurde weggelassen.</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>Nachricht</translation>
    </message>
    <message>
        <source>“%1” isn’t a valid email address.</source>
        <translation>„%1“ ist keine gültige E-Mail-Adresse.</translation>
    </message>
    <message>
        <source>Please specify at least one recipient.</source>
        <translation>Bitte geben Sie mindestens einen Empfänger an.</translation>
    </message>
    <message>
        <source>Parts of the message could not be read. It is attached as a whole: “%1”.</source>
        <translation>Teile der Nachricht konnten nicht gelesen werden. Sie ist als Ganzes angehängt: „%1“.</translation>
    </message>
    <message>
        <source>The message is too long to be shown whole, and is attached as well: “%1”.</source>
        <translation>Die Nachricht ist zu lang, um ganz gezeigt zu werden, und ist zusätzlich angehängt: „%1“.</translation>
    </message>
    <message>
        <source>Parts of the draft could not be read, and were left out.</source>
        <translation>Teile des Entwurfs konnten nicht gelesen werden und wurden weggelassen.</translation>
    </message>
    <message>
        <source>[The rest of the draft is left out.]</source>
        <translation>[Der Rest des Entwurfs wurde weggelassen.]</translation>
    </message>
    <message>
        <source>This is a copy of a draft that is more than a window can take. Saving it leaves the draft as it is.</source>
        <translation>Dies ist eine Kopie eines Entwurfs, der mehr ist, als ein Fenster fassen kann. Wenn Sie sie sichern, bleibt der Entwurf, wie er ist.</translation>
    </message>
</context>
</TS>

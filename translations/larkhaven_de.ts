<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>AccentChoice</name>
    <message>
        <source>System Accent Color</source>
        <translation>Akzentfarbe des Systems</translation>
    </message>
    <message>
        <source>Larkhaven Purple</source>
        <translation>Larkhaven-Violett</translation>
    </message>
</context>
<context>
    <name>AccessibleParts</name>
    <message>
        <source>Vertical Scroll Bar</source>
        <translation>Senkrechte Bildlaufleiste</translation>
    </message>
    <message>
        <source>Horizontal Scroll Bar</source>
        <translation>Waagerechte Bildlaufleiste</translation>
    </message>
</context>
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
    <message>
        <source>Google</source>
        <translation>Google</translation>
    </message>
    <message>
        <source>Microsoft</source>
        <translation>Microsoft</translation>
    </message>
    <message>
        <source>IMAP</source>
        <translation>IMAP</translation>
    </message>
</context>
<context>
    <name>AttachedFile</name>
    <message>
        <source>This file is not what it says: declared as “%1”, its content is “%2”.</source>
        <translation>Diese Datei ist nicht, was sie vorgibt: angekündigt als „%1“, ihr Inhalt ist „%2“.</translation>
    </message>
    <message>
        <source>This file is not what it says: by its name “%1”, its content is “%2”.</source>
        <translation>Diese Datei ist nicht, was sie vorgibt: dem Namen nach „%1“, ihr Inhalt ist „%2“.</translation>
    </message>
    <message>
        <source>This file is not what it says: declared as “%1”, by its name “%2”.</source>
        <translation>Diese Datei ist nicht, was sie vorgibt: angekündigt als „%1“, dem Namen nach „%2“.</translation>
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
    <message>
        <source>Pasted Image</source>
        <translation>Eingefügtes Bild</translation>
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
    <name>ForwardWords</name>
    <message>
        <source>---------- Forwarded message ---------</source>
        <translation>---------- Weitergeleitete Nachricht ---------</translation>
    </message>
    <message>
        <source>From:</source>
        <translation>Von:</translation>
    </message>
    <message>
        <source>Date:</source>
        <translation>Datum:</translation>
    </message>
    <message>
        <source>Subject:</source>
        <translation>Betreff:</translation>
    </message>
    <message>
        <source>To:</source>
        <translation>An:</translation>
    </message>
    <message>
        <source>Cc:</source>
        <translation>Cc:</translation>
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
    <message>
        <source>The server listed the messages in a way that can’t be read.</source>
        <translation>Der Server hat die Nachrichten auf eine Weise aufgezählt, die sich nicht lesen lässt.</translation>
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
    <name>ImageRefusal</name>
    <message>
        <source>The image could not be loaded safely.</source>
        <translation>Das Bild konnte nicht sicher geladen werden.</translation>
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
    <name>Larkhaven::AccountForm</name>
    <message>
        <source>Sign In Again…</source>
        <translation>Erneut anmelden …</translation>
    </message>
    <message>
        <source>Edit Settings / Password…</source>
        <translation>Einstellungen/Passwort bearbeiten …</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>Beschreibung</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>E-Mail</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Provider</source>
        <translation>Anbieter</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>Credentials</source>
        <translation>Anmeldedaten</translation>
    </message>
    <message>
        <source>Incoming</source>
        <translation>Eingang</translation>
    </message>
    <message>
        <source>Outgoing</source>
        <translation>Ausgang</translation>
    </message>
    <message>
        <source>Sign-in required</source>
        <translation>Anmeldung erforderlich</translation>
    </message>
    <message>
        <source>Signed in</source>
        <translation>Angemeldet</translation>
    </message>
</context>
<context>
    <name>Larkhaven::AccountsListModel</name>
    <message>
        <source>Google</source>
        <translation>Google</translation>
    </message>
    <message>
        <source>Microsoft</source>
        <translation>Microsoft</translation>
    </message>
    <message>
        <source>IMAP</source>
        <translation>IMAP</translation>
    </message>
    <message>
        <source>account</source>
        <translation>Konto</translation>
    </message>
</context>
<context>
    <name>Larkhaven::AccountsSettingsView</name>
    <message>
        <source>Add Account</source>
        <translation>Konto hinzufügen</translation>
    </message>
    <message>
        <source>Remove Account</source>
        <translation>Konto entfernen</translation>
    </message>
    <message>
        <source>Accounts</source>
        <translation>Konten</translation>
    </message>
    <message>
        <source>Move Up</source>
        <translation>Nach oben</translation>
    </message>
    <message>
        <source>Move Down</source>
        <translation>Nach unten</translation>
    </message>
    <message>
        <source>Click + to add an account.</source>
        <translation>Klicken Sie auf +, um ein Konto hinzuzufügen.</translation>
    </message>
    <message>
        <source>Select an account.</source>
        <translation>Wählen Sie ein Konto aus.</translation>
    </message>
    <message>
        <source>Remove %1?</source>
        <translation>„%1“ entfernen?</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::AddressLabel</name>
    <message numerus="yes">
        <source>and %Ln more</source>
        <comment>receivers of a message</comment>
        <translation>
            <numerusform>und %Ln weitere Person</numerusform>
            <numerusform>und %Ln weitere</numerusform>
        </translation>
    </message>
    <message>
        <source>Show Fewer</source>
        <translation>Weniger anzeigen</translation>
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
        <translation>Archiviert.</translation>
    </message>
    <message>
        <source>Deleted.</source>
        <translation>Gelöscht.</translation>
    </message>
    <message>
        <source>Moved to Inbox.</source>
        <translation>In den Posteingang verschoben.</translation>
    </message>
    <message>
        <source>Marked as junk.</source>
        <translation>Als Spam markiert.</translation>
    </message>
    <message>
        <source>Moved to %1.</source>
        <translation>Nach „%1“ verschoben.</translation>
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
    <message>
        <source>Remove %1</source>
        <translation>%1 entfernen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::AttachmentsRow</name>
    <message>
        <source>Attachments:</source>
        <translation>Anhänge:</translation>
    </message>
    <message>
        <source>Save %1</source>
        <translation>%1 sichern</translation>
    </message>
</context>
<context>
    <name>Larkhaven::CheckResults</name>
    <message>
        <source>Can’t reach %1.</source>
        <translation>%1 ist nicht erreichbar.</translation>
    </message>
</context>
<context>
    <name>Larkhaven::CheckStrips</name>
    <message>
        <source>%1 Last checked %2.</source>
        <comment>a sentence, then a time</comment>
        <translation>%1 Zuletzt geprüft: %2.</translation>
    </message>
    <message>
        <source>Try Again</source>
        <translation>Erneut versuchen</translation>
    </message>
    <message>
        <source>Try %1 Again</source>
        <comment>an account</comment>
        <translation>%1 erneut versuchen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeForm</name>
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
        <source>There is no dictionary for %1, so its spelling isn’t checked.</source>
        <translation>Für %1 gibt es kein Wörterbuch, deshalb wird die Rechtschreibung nicht geprüft.</translation>
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
    <name>Larkhaven::ComposeQuit</name>
    <message>
        <source>You have %1 messages with unsaved changes. Do you want to save them as drafts?</source>
        <translation>%1 Nachrichten enthalten ungesicherte Änderungen. Möchten Sie sie als Entwürfe sichern?</translation>
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
        <translation>Nachrichten sind noch unterwegs.</translation>
    </message>
    <message>
        <source>Larkhaven quits as soon as they have been sent or saved.</source>
        <translation>Larkhaven wird beendet, sobald sie gesendet oder gesichert sind.</translation>
    </message>
    <message>
        <source>Larkhaven quits as soon as they have been sent or saved. What you write can’t be kept at the moment: quitting now may lose them.</source>
        <translation>Larkhaven wird beendet, sobald sie gesendet oder gesichert sind. Was Sie schreiben, kann zurzeit nicht aufbewahrt werden: Wenn Sie jetzt beenden, können sie verloren gehen.</translation>
    </message>
    <message>
        <source>Quit Anyway</source>
        <translation>Trotzdem beenden</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeSession</name>
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
        <source>Draft Not Saved</source>
        <translation>Entwurf nicht gesichert</translation>
    </message>
    <message>
        <source>Message Not Sent</source>
        <translation>Nachricht nicht gesendet</translation>
    </message>
    <message>
        <source>Your text is safe: it stays in this window.</source>
        <translation>Ihr Text ist sicher: Er bleibt in diesem Fenster.</translation>
    </message>
    <message>
        <source>Message May Have Been Sent</source>
        <translation>Nachricht wurde möglicherweise gesendet</translation>
    </message>
    <message>
        <source>%1 The text is kept. Before it goes out again, Larkhaven looks for it in Sent.</source>
        <translation>%1 Der Text bleibt erhalten. Bevor er noch einmal hinausgeht, sucht Larkhaven ihn in „Gesendet“.</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposeSpelling</name>
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
    <name>Larkhaven::ComposeTextView</name>
    <message>
        <source>Message</source>
        <translation>Nachricht</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Rückgängig</translation>
    </message>
    <message>
        <source>Redo</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Ausschneiden</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>Einfügen</translation>
    </message>
    <message>
        <source>Paste Without Formatting</source>
        <translation>Ohne Formatierung einfügen</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Alles auswählen</translation>
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
    <message>
        <source>Save Draft (%1)</source>
        <translation>Entwurf sichern (%1)</translation>
    </message>
    <message>
        <source>Save Draft</source>
        <translation>Entwurf sichern</translation>
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
    <message>
        <source>An image</source>
        <translation>Ein Bild</translation>
    </message>
    <message>
        <source>Do you want to attach what you pasted?</source>
        <translation>Möchten Sie das Eingefügte anhängen?</translation>
    </message>
    <message>
        <source>Attach</source>
        <translation>Anhängen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::ComposingSettingsView</name>
    <message>
        <source>Rich Text (HTML)</source>
        <translation>Formatierter Text (HTML)</translation>
    </message>
    <message>
        <source>Plain Text</source>
        <translation>Reiner Text</translation>
    </message>
    <message>
        <source>The quick brown fox jumps over the lazy dog.</source>
        <translation>Franz jagt im komplett verwahrlosten Taxi quer durch Bayern.</translation>
    </message>
    <message>
        <source>Suggest addresses from Contacts</source>
        <translation>Adressen aus den Kontakten vorschlagen</translation>
    </message>
    <message>
        <source>Message format:</source>
        <translation>Nachrichtenformat:</translation>
    </message>
    <message>
        <source>Rich text is sent as HTML together with a plain-text copy. You can switch format for each message in the New Message window.</source>
        <translation>Formatierter Text wird als HTML zusammen mit einer Kopie in reinem Text gesendet. Im Fenster „Neue Nachricht“ können Sie das Format jeder Nachricht umstellen.</translation>
    </message>
    <message>
        <source>System Font</source>
        <translation>Systemschrift</translation>
    </message>
    <message>
        <source>Font:</source>
        <translation>Schrift:</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>Size:</source>
        <translation>Größe:</translation>
    </message>
    <message>
        <source>Signature</source>
        <translation>Signatur</translation>
    </message>
    <message>
        <source>Added to new messages, replies and forwards (above quoted text). Leave empty for no signature.</source>
        <translation>Wird an neue Nachrichten, Antworten und Weiterleitungen angefügt (über dem zitierten Text). Leer lassen für keine Signatur.</translation>
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
        <translation>Etwas ist schiefgegangen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::FlatButton</name>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
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
    <name>Larkhaven::GeneralSettingsView</name>
    <message>
        <source>Mail</source>
        <translation>Mail</translation>
    </message>
    <message>
        <source>Send new messages from:</source>
        <translation>Neue Nachrichten senden von:</translation>
    </message>
    <message>
        <source>Every minute</source>
        <translation>Jede Minute</translation>
    </message>
    <message>
        <source>Every 5 minutes</source>
        <translation>Alle 5 Minuten</translation>
    </message>
    <message>
        <source>Every 15 minutes</source>
        <translation>Alle 15 Minuten</translation>
    </message>
    <message>
        <source>Every 30 minutes</source>
        <translation>Alle 30 Minuten</translation>
    </message>
    <message>
        <source>Manually</source>
        <translation>Manuell</translation>
    </message>
    <message>
        <source>Check for new messages:</source>
        <translation>Nach neuen Nachrichten suchen:</translation>
    </message>
    <message>
        <source>Messages per page:</source>
        <translation>Nachrichten pro Seite:</translation>
    </message>
    <message>
        <source>Show message preview in list</source>
        <translation>Vorschau der Nachrichten in der Liste zeigen</translation>
    </message>
    <message>
        <source>Use Gmail keyboard shortcuts</source>
        <translation>Tastenkürzel von Gmail verwenden</translation>
    </message>
    <message>
        <source>Appearance</source>
        <translation>Erscheinungsbild</translation>
    </message>
    <message>
        <source>Accent color:</source>
        <translation>Akzentfarbe:</translation>
    </message>
    <message>
        <source>The new accent color is used after Larkhaven restarts.</source>
        <translation>Die neue Akzentfarbe wird nach einem Neustart von Larkhaven verwendet.</translation>
    </message>
    <message>
        <source>Restart Now</source>
        <translation>Jetzt neu starten</translation>
    </message>
    <message>
        <source>Account of selected mailbox</source>
        <translation>Konto des ausgewählten Postfachs</translation>
    </message>
    <message>
        <source>Every %1 minutes</source>
        <translation>Alle %1 Minuten</translation>
    </message>
    <message>
        <source>Restart Larkhaven to change the accent color?</source>
        <translation>Larkhaven neu starten, um die Akzentfarbe zu ändern?</translation>
    </message>
    <message>
        <source>Later</source>
        <translation>Später</translation>
    </message>
</context>
<context>
    <name>Larkhaven::HeaderLabel</name>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
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
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Email Address</source>
        <translation>E-Mail-Adresse</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>User Name</source>
        <translation>Benutzername</translation>
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
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>New Message</source>
        <translation>Neue Nachricht</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;Bearbeiten</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Rückgängig</translation>
    </message>
    <message>
        <source>Redo</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Ausschneiden</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>Einfügen</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Alles auswählen</translation>
    </message>
    <message>
        <source>Find…</source>
        <translation>Suchen …</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Einstellungen …</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>Show Preview Text</source>
        <translation>Vorschautext zeigen</translation>
    </message>
    <message>
        <source>Make Text Bigger</source>
        <translation>Text vergrößern</translation>
    </message>
    <message>
        <source>Make Text Smaller</source>
        <translation>Text verkleinern</translation>
    </message>
    <message>
        <source>Actual Size</source>
        <translation>Originalgröße</translation>
    </message>
    <message>
        <source>Columns</source>
        <translation>Spalten</translation>
    </message>
    <message>
        <source>Show Sidebar</source>
        <translation>Seitenleiste zeigen</translation>
    </message>
    <message>
        <source>Sort By</source>
        <translation>Sortieren nach</translation>
    </message>
    <message>
        <source>Sort This Page By</source>
        <translation>Diese Seite sortieren nach</translation>
    </message>
    <message>
        <source>Order</source>
        <translation>Reihenfolge</translation>
    </message>
    <message>
        <source>Ascending</source>
        <translation>Aufsteigend</translation>
    </message>
    <message>
        <source>Descending</source>
        <translation>Absteigend</translation>
    </message>
    <message>
        <source>&amp;Mailbox</source>
        <translation>&amp;Postfach</translation>
    </message>
    <message>
        <source>Get All New Mail</source>
        <translation>Alle neuen E-Mails abrufen</translation>
    </message>
    <message>
        <source>Add Account</source>
        <translation>Konto hinzufügen</translation>
    </message>
    <message>
        <source>Accounts…</source>
        <translation>Konten …</translation>
    </message>
    <message>
        <source>Newest Messages</source>
        <translation>Neueste Nachrichten</translation>
    </message>
    <message>
        <source>Newer Messages</source>
        <translation>Neuere Nachrichten</translation>
    </message>
    <message>
        <source>Older Messages</source>
        <translation>Ältere Nachrichten</translation>
    </message>
    <message>
        <source>Oldest Messages</source>
        <translation>Älteste Nachrichten</translation>
    </message>
    <message>
        <source>Go To</source>
        <translation>Gehe zu</translation>
    </message>
    <message>
        <source>New %1…</source>
        <translation>%1 anlegen …</translation>
    </message>
    <message>
        <source>Rename “%1”…</source>
        <translation>„%1“ umbenennen …</translation>
    </message>
    <message>
        <source>Rename %1…</source>
        <translation>%1 umbenennen …</translation>
    </message>
    <message>
        <source>Delete “%1”…</source>
        <translation>„%1“ löschen …</translation>
    </message>
    <message>
        <source>Delete %1…</source>
        <translation>%1 löschen …</translation>
    </message>
    <message>
        <source>Me&amp;ssage</source>
        <translation>&amp;Nachricht</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>About Larkhaven</source>
        <translation>Über Larkhaven</translation>
    </message>
    <message>
        <source>Larkhaven %1</source>
        <translation>Larkhaven %1</translation>
    </message>
    <message>
        <source>A mail client that trusts no message. Free software under the GNU General Public License, version 3 or later.</source>
        <translation>Ein Mailprogramm, das keiner Nachricht traut. Freie Software unter der GNU General Public License, Version 3 oder später.</translation>
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
        <translation>Neue E-Mails abrufen</translation>
    </message>
</context>
<context>
    <name>Larkhaven::MessageActions</name>
    <message>
        <source>Edit Draft</source>
        <translation>Entwurf bearbeiten</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
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
        <source>Mark as Read</source>
        <translation>Als gelesen markieren</translation>
    </message>
    <message>
        <source>Mark as Unread</source>
        <translation>Als ungelesen markieren</translation>
    </message>
    <message>
        <source>Add Star</source>
        <translation>Stern hinzufügen</translation>
    </message>
    <message>
        <source>Remove Star</source>
        <translation>Stern entfernen</translation>
    </message>
    <message>
        <source>Archive</source>
        <translation>Archivieren</translation>
    </message>
    <message>
        <source>Move To</source>
        <translation>Verschieben nach</translation>
    </message>
    <message>
        <source>Label As</source>
        <translation>Label zuweisen</translation>
    </message>
    <message>
        <source>Not Spam</source>
        <translation>Kein Spam</translation>
    </message>
    <message>
        <source>Report Spam</source>
        <translation>Spam melden</translation>
    </message>
    <message>
        <source>Mark as Junk</source>
        <translation>Als Spam markieren</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>New Label…</source>
        <translation>Neues Label …</translation>
    </message>
    <message>
        <source>Show Messages from Sender</source>
        <translation>Nachrichten des Absenders zeigen</translation>
    </message>
    <message>
        <source>Copy Sender Address</source>
        <translation>Absenderadresse kopieren</translation>
    </message>
    <message>
        <source>Save As…</source>
        <translation>Sichern als …</translation>
    </message>
    <message>
        <source>Show Source</source>
        <translation>Quelltext zeigen</translation>
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
        <translation>
            <numerusform>%n Nachricht</numerusform>
            <numerusform>%n Nachrichten</numerusform>
        </translation>
    </message>
    <message>
        <source>Messages Not Loaded</source>
        <translation>Nachrichten nicht geladen</translation>
    </message>
    <message>
        <source>They show as soon as the mail service answers.</source>
        <translation>Sie erscheinen, sobald der Maildienst antwortet.</translation>
    </message>
</context>
<context>
    <name>Larkhaven::MessageTableHeader</name>
    <message>
        <source>A click on a title sorts this page</source>
        <translation>Ein Klick auf einen Titel sortiert diese Seite</translation>
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
    <message>
        <source>%1, sorted, ascending</source>
        <extracomment>the title of a column; read aloud</extracomment>
        <translation>%1, aufsteigend sortiert</translation>
    </message>
    <message>
        <source>%1, sorted, descending</source>
        <translation>%1, absteigend sortiert</translation>
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
        <translation>Neuere</translation>
    </message>
    <message>
        <source>Older</source>
        <translation>Ältere</translation>
    </message>
</context>
<context>
    <name>Larkhaven::PointSizeField</name>
    <message>
        <source> pt</source>
        <translation> pt</translation>
    </message>
    <message>
        <source>Smaller</source>
        <translation>Kleiner</translation>
    </message>
    <message>
        <source>Larger</source>
        <translation>Größer</translation>
    </message>
</context>
<context>
    <name>Larkhaven::PrivacySettingsView</name>
    <message>
        <source>Delete Downloaded Messages…</source>
        <translation>Geladene Nachrichten löschen …</translation>
    </message>
    <message>
        <source>Load remote content in messages</source>
        <translation>Entfernte Inhalte in Nachrichten laden</translation>
    </message>
    <message>
        <source>Remote images can reveal when you open a message and your approximate location. When off, use “Load Remote Content” in a message to load it once.</source>
        <translation>Entfernte Bilder können verraten, wann Sie eine Nachricht öffnen und wo Sie sich ungefähr befinden. Wenn dies ausgeschaltet ist, lädt „Entfernte Inhalte laden“ in einer Nachricht sie einmalig.</translation>
    </message>
    <message>
        <source>Remove tracking parameters from links</source>
        <translation>Tracking-Parameter aus Links entfernen</translation>
    </message>
    <message>
        <source>Warn before opening suspicious links</source>
        <translation>Vor dem Öffnen verdächtiger Links warnen</translation>
    </message>
    <message>
        <source>Always On</source>
        <translation>Immer aktiv</translation>
    </message>
    <message>
        <source>Tracking pixels</source>
        <translation>Zählpixel</translation>
    </message>
    <message>
        <source>Blocked</source>
        <translation>Blockiert</translation>
    </message>
    <message>
        <source>Cookies</source>
        <translation>Cookies</translation>
    </message>
    <message>
        <source>Never stored</source>
        <translation>Nie gespeichert</translation>
    </message>
    <message>
        <source>Scripts in messages</source>
        <translation>Skripte in Nachrichten</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Deaktiviert</translation>
    </message>
    <message>
        <source>Downloaded messages</source>
        <translation>Geladene Nachrichten</translation>
    </message>
    <message>
        <source>Delete downloaded messages?</source>
        <translation>Geladene Nachrichten löschen?</translation>
    </message>
    <message>
        <source>Mail on the server isn&apos;t affected.</source>
        <translation>E-Mails auf dem Server sind nicht betroffen.</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
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
    <message>
        <source>Images are loaded from the public internet alone, and within bounds of size and time.</source>
        <translation>Bilder werden nur aus dem öffentlichen Internet geladen, und bis zu festen Grenzen für Größe und Zeit.</translation>
    </message>
    <message numerus="yes">
        <source>%n images could not be loaded safely.</source>
        <translation>
            <numerusform>%n Bild konnte nicht sicher geladen werden.</numerusform>
            <numerusform>%n Bilder konnten nicht sicher geladen werden.</numerusform>
        </translation>
    </message>
    <message>
        <source>Only the text is shown: the sandbox that would hold this message is off on this system.</source>
        <translation>Nur der Text wird angezeigt: Die Sandbox, die diese Nachricht halten würde, ist auf diesem System abgeschaltet.</translation>
    </message>
    <message>
        <source>It needs user namespaces, and a start without options that turn it off.</source>
        <translation>Sie braucht Benutzer-Namensräume und einen Start ohne Optionen, die sie abschalten.</translation>
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
        <source>Undisclosed recipients</source>
        <translation>Ungenannte Empfänger</translation>
    </message>
    <message>
        <source>%1 at %2</source>
        <comment>a date and a time</comment>
        <translation>%1 um %2</translation>
    </message>
    <message>
        <source>Starred</source>
        <translation>Markiert</translation>
    </message>
    <message numerus="yes">
        <source>%Ln attachments</source>
        <translation>
            <numerusform>%Ln Anhang</numerusform>
            <numerusform>%Ln Anhänge</numerusform>
        </translation>
    </message>
    <message>
        <source>Attachments</source>
        <translation>Anhänge</translation>
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
    <message>
        <source>Message</source>
        <translation>Nachricht</translation>
    </message>
    <message>
        <source>Text of the Message</source>
        <translation>Text der Nachricht</translation>
    </message>
    <message>
        <source>Loading the message</source>
        <translation>Die Nachricht wird geladen</translation>
    </message>
    <message>
        <source>Save it only if you expected it, and know what it does.</source>
        <translation>Sichern Sie sie nur, wenn Sie sie erwartet haben und wissen, was sie tut.</translation>
    </message>
    <message>
        <source>“%1” can run programs.</source>
        <translation>„%1“ kann Programme ausführen.</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Sichern</translation>
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
    <message>
        <source>Start Searching</source>
        <translation>Suche starten</translation>
    </message>
</context>
<context>
    <name>Larkhaven::SearchLine</name>
    <message>
        <source>Clear</source>
        <translation>Aufheben</translation>
    </message>
    <message>
        <source>Clear Search</source>
        <translation>Suche aufheben</translation>
    </message>
    <message>
        <source>Searching for “%1” in %2…</source>
        <translation>Suche nach „%1“ in %2 …</translation>
    </message>
    <message>
        <source>No answer about “%1” in %2</source>
        <translation>Keine Antwort zu „%1“ in %2</translation>
    </message>
    <message>
        <source>Results for “%1” in %2</source>
        <translation>Ergebnisse für „%1“ in %2</translation>
    </message>
    <message numerus="yes">
        <source>%Ln results for “%1” in %2</source>
        <translation>
            <numerusform>%Ln Ergebnis für „%1“ in %2</numerusform>
            <numerusform>%Ln Ergebnisse für „%1“ in %2</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Larkhaven::SecureMessageView</name>
    <message>
        <source>Unable to display this message safely.</source>
        <translation>Diese Nachricht kann nicht sicher angezeigt werden.</translation>
    </message>
    <message>
        <source>This message is taking long to show.</source>
        <translation>Diese Nachricht braucht lange, bis sie zu sehen ist.</translation>
    </message>
    <message>
        <source>This message was stopped.</source>
        <translation>Diese Nachricht wurde angehalten.</translation>
    </message>
    <message>
        <source>This message was stopped, because it took too much memory.</source>
        <translation>Diese Nachricht wurde angehalten, weil sie zu viel Speicher brauchte.</translation>
    </message>
</context>
<context>
    <name>Larkhaven::SenderLine</name>
    <message>
        <source>Unknown</source>
        <translation>Unbekannt</translation>
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
    <name>Larkhaven::SettingsView</name>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Accounts</source>
        <translation>Konten</translation>
    </message>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>Composing</source>
        <translation>Verfassen</translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation>Privatsphäre</translation>
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
        <translation>Anmelden …</translation>
    </message>
    <message numerus="yes">
        <source>%1, %Ln unread</source>
        <extracomment>a mailbox, and how many unread messages it has; read aloud</extracomment>
        <translation>
            <numerusform>%1, %Ln ungelesen</numerusform>
            <numerusform>%1, %Ln ungelesen</numerusform>
        </translation>
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
    <name>Larkhaven::TroubleSheet</name>
    <message>
        <source>Show as Plain Text</source>
        <translation>Als reinen Text anzeigen</translation>
    </message>
    <message>
        <source>Stop</source>
        <comment>to load a message</comment>
        <translation>Anhalten</translation>
    </message>
</context>
<context>
    <name>Larkhaven::UndoLine</name>
    <message>
        <source>Undo</source>
        <translation>Rückgängig</translation>
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
        <translation>Diese Nachrichten können nicht zurückbewegt werden.</translation>
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
    <message>
        <source>From</source>
        <translation>Von</translation>
    </message>
    <message>
        <source>Subject</source>
        <translation>Betreff</translation>
    </message>
    <message>
        <source>Date</source>
        <translation>Datum</translation>
    </message>
    <message>
        <source>Mailbox</source>
        <translation>Postfach</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
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
</context>
<context>
    <name>MessageDocument</name>
    <message>
        <source>Unknown</source>
        <translation>Unbekannt</translation>
    </message>
    <message>
        <source>(no subject)</source>
        <translation>(kein Betreff)</translation>
    </message>
    <message>
        <source>Forwarded message: %1</source>
        <translation>Weitergeleitete Nachricht: %1</translation>
    </message>
    <message>
        <source>From:</source>
        <translation>Von:</translation>
    </message>
    <message>
        <source>Subject:</source>
        <translation>Betreff:</translation>
    </message>
    <message>
        <source>Date:</source>
        <translation>Datum:</translation>
    </message>
    <message>
        <source>%1 at %2</source>
        <comment>a date and a time</comment>
        <translation>%1 um %2</translation>
    </message>
    <message>
        <source>Forwarded message</source>
        <translation>Weitergeleitete Nachricht</translation>
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
        <source>(The rest of this message is left out.)</source>
        <translation>(Der Rest dieser Nachricht ist ausgelassen.)</translation>
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
    <name>PlatformWords</name>
    <message>
        <source>Add an account to get started. Google accounts sign in on Google&apos;s own page, so Larkhaven never sees that password. Other providers sign in over IMAP with a password kept in your Keychain.</source>
        <translation>Fügen Sie zum Beginnen ein Konto hinzu. Google-Konten melden sich auf Googles eigener Seite an, sodass Larkhaven dieses Passwort nie sieht. Andere Anbieter melden sich über IMAP mit einem Passwort an, das in Ihrem Schlüsselbund aufbewahrt wird.</translation>
    </message>
    <message>
        <source>Add an account to get started. Google accounts sign in on Google&apos;s own page, so Larkhaven never sees that password. Other providers sign in over IMAP with a password kept in your keyring.</source>
        <translation>Fügen Sie zum Beginnen ein Konto hinzu. Google-Konten melden sich auf Googles eigener Seite an, sodass Larkhaven dieses Passwort nie sieht. Andere Anbieter melden sich über IMAP mit einem Passwort an, das in Ihrem Schlüsselbund aufbewahrt wird.</translation>
    </message>
    <message>
        <source>Get New Mail (⇧⌘N)</source>
        <translation>Neue E-Mails abrufen (⇧⌘N)</translation>
    </message>
    <message>
        <source>Get New Mail (Ctrl+Shift+N)</source>
        <translation>Neue E-Mails abrufen (Strg+Umschalt+N)</translation>
    </message>
    <message>
        <source>j / k next and previous, o open, e archive, # delete, s star, ⇧U read/unread, c compose, u back.</source>
        <translation>j / k nächste und vorige, o öffnen, e archivieren, # löschen, s Stern, ⇧U gelesen/ungelesen, c verfassen, u zurück.</translation>
    </message>
    <message>
        <source>j / k next and previous, o open, e archive, # delete, s star, Shift+U read/unread, c compose, u back.</source>
        <translation>j / k nächste und vorige, o öffnen, e archivieren, # löschen, s Stern, Umschalt+U gelesen/ungelesen, c verfassen, u zurück.</translation>
    </message>
    <message>
        <source>Show unread count on Dock icon</source>
        <translation>Anzahl ungelesener Nachrichten am Dock-Symbol zeigen</translation>
    </message>
    <message>
        <source>Show unread count on launcher icon</source>
        <translation>Anzahl ungelesener Nachrichten am Startersymbol zeigen</translation>
    </message>
    <message>
        <source>Larkhaven Purple shows when System Settings ▸ Appearance ▸ Accent color is Multicolor; a specific color chosen there applies to every app.</source>
        <translation>Larkhaven-Violett wird gezeigt, wenn unter Systemeinstellungen ▸ Erscheinungsbild ▸ Akzentfarbe „Mehrfarbig“ gewählt ist; eine dort gewählte Farbe gilt für alle Apps.</translation>
    </message>
    <message>
        <source>System Accent Color is the one chosen in your desktop&apos;s appearance settings, or blue where none is chosen there.</source>
        <translation>Die Akzentfarbe des Systems ist die in den Darstellungseinstellungen Ihrer Arbeitsumgebung gewählte, oder Blau, wo dort keine gewählt ist.</translation>
    </message>
    <message>
        <source>macOS applies an app&apos;s accent color when it opens. Unsent messages in open New Message windows will be closed.</source>
        <translation>macOS übernimmt die Akzentfarbe einer App beim Öffnen. Nicht gesendete Nachrichten in offenen Fenstern „Neue Nachricht“ werden geschlossen.</translation>
    </message>
    <message>
        <source>Larkhaven applies its accent color when it opens. Unsent messages in open New Message windows will be closed.</source>
        <translation>Larkhaven übernimmt die Akzentfarbe beim Öffnen. Nicht gesendete Nachrichten in offenen Fenstern „Neue Nachricht“ werden geschlossen.</translation>
    </message>
    <message>
        <source>Stored in this Mac&apos;s Keychain</source>
        <translation>Im Schlüsselbund dieses Mac gespeichert</translation>
    </message>
    <message>
        <source>Stored in this computer&apos;s keyring</source>
        <translation>Im Schlüsselbund dieses Computers gespeichert</translation>
    </message>
    <message>
        <source>Its sign-in credentials will be deleted from this Mac. Mail on the server is not affected.</source>
        <translation>Seine Anmeldedaten werden von diesem Mac gelöscht. E-Mails auf dem Server sind nicht betroffen.</translation>
    </message>
    <message>
        <source>Its sign-in credentials will be deleted from this computer. Mail on the server is not affected.</source>
        <translation>Seine Anmeldedaten werden von diesem Computer gelöscht. E-Mails auf dem Server sind nicht betroffen.</translation>
    </message>
    <message>
        <source>Reads names and email addresses from this Mac&apos;s Contacts while you type. macOS asks for permission the first time. Nothing is stored or sent anywhere.</source>
        <translation>Liest beim Tippen Namen und E-Mail-Adressen aus den Kontakten dieses Mac. macOS fragt beim ersten Mal um Erlaubnis. Nichts wird irgendwo gespeichert oder hingesendet.</translation>
    </message>
    <message>
        <source>Reads names and email addresses from this computer&apos;s Contacts while you type. Nothing is stored or sent anywhere.</source>
        <translation>Liest beim Tippen Namen und E-Mail-Adressen aus den Kontakten dieses Computers. Nichts wird irgendwo gespeichert oder hingesendet.</translation>
    </message>
    <message>
        <source>On This Mac</source>
        <translation>Auf diesem Mac</translation>
    </message>
    <message>
        <source>On This Computer</source>
        <translation>Auf diesem Computer</translation>
    </message>
    <message>
        <source>Messages you open are kept on this Mac, encrypted with a key in your Keychain, so they&apos;re downloaded only once. The oldest are removed above 500 MB per account. Deleting them only means downloading again.</source>
        <translation>Nachrichten, die Sie öffnen, werden auf diesem Mac aufbewahrt, verschlüsselt mit einem Schlüssel in Ihrem Schlüsselbund, sodass sie nur einmal geladen werden. Über 500 MB pro Konto werden die ältesten entfernt. Sie zu löschen bedeutet nur, sie erneut zu laden.</translation>
    </message>
    <message>
        <source>Messages you open are kept on this computer, encrypted with a key in your keyring, so they&apos;re downloaded only once. The oldest are removed above 500 MB per account. Deleting them only means downloading again.</source>
        <translation>Nachrichten, die Sie öffnen, werden auf diesem Computer aufbewahrt, verschlüsselt mit einem Schlüssel in Ihrem Schlüsselbund, sodass sie nur einmal geladen werden. Über 500 MB pro Konto werden die ältesten entfernt. Sie zu löschen bedeutet nur, sie erneut zu laden.</translation>
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
    <message>
        <source>1 byte</source>
        <translation>1 Byte</translation>
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
    <name>SendAgain</name>
    <message>
        <source>This message may have gone out already: the server never confirmed it. It isn’t in Sent, which proves nothing where the server keeps no copy.</source>
        <translation>Diese Nachricht ist möglicherweise schon hinausgegangen: Der Server hat sie nie bestätigt. Sie liegt nicht in „Gesendet“, was nichts beweist, wenn der Server keine Kopie aufbewahrt.</translation>
    </message>
    <message>
        <source>This message is in Sent: it has gone out. Whoever gets it again gets it twice.</source>
        <translation>Diese Nachricht liegt in „Gesendet“: Sie ist hinausgegangen. Wer sie noch einmal bekommt, bekommt sie doppelt.</translation>
    </message>
    <message>
        <source>This message may have gone out already, and Sent can’t be searched: %1</source>
        <translation>Diese Nachricht ist möglicherweise schon hinausgegangen, und „Gesendet“ kann nicht durchsucht werden: %1</translation>
    </message>
    <message>
        <source>Send This Message Again?</source>
        <translation>Diese Nachricht noch einmal senden?</translation>
    </message>
    <message>
        <source>Close Message</source>
        <translation>Nachricht schließen</translation>
    </message>
    <message>
        <source>Send Again</source>
        <translation>Noch einmal senden</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>SenderLine</name>
    <message>
        <source>The sender’s name looks like another address.</source>
        <translation>Der Name des Absenders sieht wie eine andere Adresse aus.</translation>
    </message>
    <message>
        <source>The sender’s name holds hidden characters.</source>
        <translation>Der Name des Absenders enthält verborgene Zeichen.</translation>
    </message>
    <message>
        <source>This message doesn’t say clearly who sent it.</source>
        <translation>Diese Nachricht sagt nicht klar, wer sie gesendet hat.</translation>
    </message>
    <message>
        <source>It was sent by %1.</source>
        <translation>Gesendet wurde sie von %1.</translation>
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
    <message>
        <source>[The rest of the text is left out.]</source>
        <translation>[Der Rest des Textes ist weggelassen.]</translation>
    </message>
    <message>
        <source>Replies go to %1, not to the sender.</source>
        <translation>Antworten gehen an %1, nicht an den Absender.</translation>
    </message>
    <message>
        <source>The message holds two different texts; the quote is the one that is shown.</source>
        <translation>Die Nachricht enthält zwei verschiedene Texte; zitiert ist der, der angezeigt wird.</translation>
    </message>
    <message>
        <source>The message holds two different texts; only the one that is shown is forwarded.</source>
        <translation>Die Nachricht enthält zwei verschiedene Texte; weitergeleitet wird nur der, der angezeigt wird.</translation>
    </message>
</context>
</TS>

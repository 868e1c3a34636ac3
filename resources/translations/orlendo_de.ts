<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>ActivityDetailsModel</name>
    <message>
        <source>Computer</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>Outcome</source>
        <translation>Ergebnis</translation>
    </message>
    <message>
        <source>Reason</source>
        <translation>Grund</translation>
    </message>
</context>
<context>
    <name>ActivityFilterBar</name>
    <message>
        <source>Find in what was done</source>
        <translation>In den ausgeführten Aktionen suchen</translation>
    </message>
    <message>
        <source>Computer</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>All Computers</source>
        <translation>Alle Computer</translation>
    </message>
    <message>
        <source>Tool</source>
        <translation>Werkzeug</translation>
    </message>
    <message>
        <source>All Tools</source>
        <translation>Alle Werkzeuge</translation>
    </message>
    <message>
        <source>Outcome</source>
        <translation>Ergebnis</translation>
    </message>
    <message>
        <source>All Outcomes</source>
        <translation>Alle Ergebnisse</translation>
    </message>
    <message>
        <source>Changes only</source>
        <translation>Nur Änderungen</translation>
    </message>
    <message>
        <source>Words in the action, the subject, the tool, the user or a computer</source>
        <translation>Wörter in Aktion, Gegenstand, Werkzeug, Benutzer oder Computer</translation>
    </message>
    <message>
        <source>Leave out what only read</source>
        <translation>Reine Lesevorgänge auslassen</translation>
    </message>
    <message>
        <source>Not Everywhere</source>
        <translation>Nicht überall</translation>
    </message>
    <message>
        <source>On one computer at least it was not done</source>
        <translation>Auf mindestens einem Computer wurde es nicht ausgeführt</translation>
    </message>
</context>
<context>
    <name>ActivityModel</name>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Tool</source>
        <translation>Werkzeug</translation>
    </message>
    <message>
        <source>Action</source>
        <translation>Aktion</translation>
    </message>
    <message>
        <source>Subject</source>
        <translation>Gegenstand</translation>
    </message>
    <message>
        <source>Outcome</source>
        <translation>Ergebnis</translation>
    </message>
    <message>
        <source>User</source>
        <translation>Benutzer</translation>
    </message>
</context>
<context>
    <name>ActivityWindow</name>
    <message>
        <source>Console</source>
        <translation>Konsole</translation>
    </message>
    <message>
        <source>%1 run</source>
        <translation>%1 Lauf</translation>
    </message>
    <message>
        <source>%1 runs</source>
        <translation>%1 Läufe</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 min %2 s</source>
        <translation>%1 min %2 s</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Export</source>
        <translation>Exportieren</translation>
    </message>
    <message>
        <source>Stop Export</source>
        <translation>Export abbrechen</translation>
    </message>
    <message>
        <source>Retry Failed</source>
        <translation>Fehlgeschlagene wiederholen</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Rückgängig machen</translation>
    </message>
    <message>
        <source>Activity</source>
        <translation>Aktivitäten</translation>
    </message>
    <message>
        <source>Runs</source>
        <translation>Läufe</translation>
    </message>
    <message>
        <source>Computers of the chosen run</source>
        <translation>Computer des ausgewählten Laufs</translation>
    </message>
    <message>
        <source>Copy the selected runs as text</source>
        <translation>Die ausgewählten Läufe als Text kopieren</translation>
    </message>
    <message>
        <source>Write all runs that are listed into a file</source>
        <translation>Alle aufgeführten Läufe in eine Datei schreiben</translation>
    </message>
    <message>
        <source>Give up writing the file</source>
        <translation>Das Schreiben der Datei abbrechen</translation>
    </message>
    <message>
        <source>Do it again on the computers where it was not done</source>
        <translation>Auf den Computern erneut ausführen, auf denen es nicht ausgeführt wurde</translation>
    </message>
    <message>
        <source>Take it back on the computers where it was done</source>
        <translation>Auf den Computern rückgängig machen, auf denen es ausgeführt wurde</translation>
    </message>
    <message>
        <source>As &amp;CSV…</source>
        <translation>Als &amp;CSV …</translation>
    </message>
    <message>
        <source>As &amp;JSON…</source>
        <translation>Als &amp;JSON …</translation>
    </message>
    <message>
        <source>That run is not kept.</source>
        <translation>Dieser Lauf ist nicht mehr gespeichert.</translation>
    </message>
    <message>
        <source>Activity cannot be read</source>
        <translation>Die Aktivitäten können nicht gelesen werden</translation>
    </message>
    <message>
        <source>Reading what was done</source>
        <translation>Aktivitäten werden gelesen</translation>
    </message>
    <message>
        <source>Nothing like that was done</source>
        <translation>Nichts dergleichen wurde ausgeführt</translation>
    </message>
    <message>
        <source>No run passes the filters above.</source>
        <translation>Kein Lauf entspricht den obigen Filtern.</translation>
    </message>
    <message>
        <source>Show All Runs</source>
        <translation>Alle Läufe anzeigen</translation>
    </message>
    <message>
        <source>Nothing was done yet</source>
        <translation>Bisher wurde nichts ausgeführt</translation>
    </message>
    <message>
        <source>Whatever the tools do on computers is listed here, with what became of it on each of them.</source>
        <translation>Was die Werkzeuge auf Computern ausführen, wird hier aufgeführt, jeweils mit dem Ergebnis auf jedem Computer.</translation>
    </message>
    <message>
        <source>That run is not on the disk: %1</source>
        <translation>Dieser Lauf ist nicht auf dem Datenträger vorhanden: %1</translation>
    </message>
    <message>
        <source>Reading…</source>
        <translation>Wird gelesen …</translation>
    </message>
    <message>
        <source>%1 found</source>
        <translation>%1 gefunden</translation>
    </message>
    <message>
        <source>What is done now is not kept: %1</source>
        <translation>Was jetzt ausgeführt wird, wird nicht gespeichert: %1</translation>
    </message>
    <message>
        <source>No run is chosen</source>
        <translation>Kein Lauf ausgewählt</translation>
    </message>
    <message>
        <source>took %1</source>
        <translation>Dauer: %1</translation>
    </message>
    <message>
        <source>took an earlier run back</source>
        <translation>machte einen früheren Lauf rückgängig</translation>
    </message>
    <message>
        <source>repeated an earlier run</source>
        <translation>wiederholte einen früheren Lauf</translation>
    </message>
    <message>
        <source>was taken back</source>
        <translation>wurde rückgängig gemacht</translation>
    </message>
    <message>
        <source>What became of it on each computer is shown here.</source>
        <translation>Das Ergebnis auf jedem Computer wird hier angezeigt.</translation>
    </message>
    <message>
        <source>Copied only the newest %1 of %2</source>
        <translation>Nur die neuesten %1 kopiert (insgesamt %2)</translation>
    </message>
    <message>
        <source>Export Activity</source>
        <translation>Aktivitäten exportieren</translation>
    </message>
    <message>
        <source>Activity %1.%2</source>
        <translation>Aktivitäten %1.%2</translation>
    </message>
    <message>
        <source>Exporting: %1 of %2</source>
        <translation>Export: %1 von insgesamt %2</translation>
    </message>
    <message>
        <source>Exporting…</source>
        <translation>Wird exportiert …</translation>
    </message>
    <message>
        <source>There is no thread to be had.</source>
        <translation>Es ist kein Thread verfügbar.</translation>
    </message>
    <message>
        <source>Exported %1 to %2</source>
        <translation>%1 nach %2 exportiert</translation>
    </message>
    <message>
        <source>The export was stopped; nothing is written.</source>
        <translation>Der Export wurde abgebrochen; es wurde nichts geschrieben.</translation>
    </message>
    <message>
        <source>Unable to export the activity</source>
        <translation>Die Aktivitäten konnten nicht exportiert werden</translation>
    </message>
</context>
<context>
    <name>AddComputerSheet</name>
    <message>
        <source>Add Computer</source>
        <translation>Computer hinzufügen</translation>
    </message>
    <message>
        <source>Computers on this network appear by themselves. Enter one here that does not: its client agent must be running.</source>
        <translation>Computer in diesem Netzwerk erscheinen von selbst. Geben Sie hier einen Computer ein, der nicht erscheint. Sein Client-Agent muss laufen.</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Edit Bay 5</source>
        <translation>Schnittplatz 5</translation>
    </message>
    <message>
        <source>As it should be listed</source>
        <translation>Wie er in der Liste erscheinen soll</translation>
    </message>
    <message>
        <source>A name has 1 to 255 characters</source>
        <translation>Ein Name hat 1 bis 255 Zeichen</translation>
    </message>
    <message>
        <source>Address</source>
        <translation>Adresse</translation>
    </message>
    <message>
        <source>IPv4 address, or “localhost”</source>
        <translation>IPv4-Adresse oder „localhost“</translation>
    </message>
    <message>
        <source>Four numbers with dots and no leading zeros, or “localhost”</source>
        <translation>Vier durch Punkte getrennte Zahlen ohne führende Nullen oder „localhost“</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>Port</translation>
    </message>
    <message>
        <source>1025 to 65535</source>
        <translation>1025 bis 65535</translation>
    </message>
    <message>
        <source>The TCP port of its client agent, usually 5473</source>
        <translation>Der TCP-Port seines Client-Agenten, normalerweise 5473</translation>
    </message>
    <message>
        <source>A number from 1025 to 65535</source>
        <translation>Eine Zahl von 1025 bis 65535</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <source>Edit Computer</source>
        <translation>Computer bearbeiten</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Connection already exists</source>
        <translation>Die Verbindung ist bereits vorhanden</translation>
    </message>
    <message>
        <source>There is already a service with this IP address and port.</source>
        <translation>Es gibt bereits einen Dienst mit dieser IP-Adresse und diesem Port.</translation>
    </message>
</context>
<context>
    <name>AddonryController</name>
    <message>
        <source>Disable</source>
        <translation>Deaktivieren</translation>
    </message>
    <message>
        <source>Enable</source>
        <translation>Aktivieren</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Deaktiviert</translation>
    </message>
    <message>
        <source>Enabled</source>
        <translation>Aktiviert</translation>
    </message>
    <message>
        <source>Install for Current User</source>
        <translation>Für aktuellen Benutzer installieren</translation>
    </message>
    <message>
        <source>Install for All Users</source>
        <translation>Für alle Benutzer installieren</translation>
    </message>
    <message>
        <source>Installed for the current user</source>
        <translation>Für den aktuellen Benutzer installiert</translation>
    </message>
    <message>
        <source>Installed for all users</source>
        <translation>Für alle Benutzer installiert</translation>
    </message>
    <message>
        <source>Synchronise</source>
        <translation>Synchronisieren</translation>
    </message>
    <message>
        <source>Synchronised</source>
        <translation>Synchronisiert</translation>
    </message>
    <message>
        <source>plug-ins</source>
        <translation>Plug-ins</translation>
    </message>
    <message>
        <source>%1 plug-ins</source>
        <translation>%1 Plug-ins</translation>
    </message>
    <message>
        <source>all plug-ins</source>
        <translation>alle Plug-ins</translation>
    </message>
    <message>
        <source>It does not have these plug-ins any more: %1.</source>
        <translation>Diese Plug-ins sind dort nicht mehr vorhanden: %1.</translation>
    </message>
    <message>
        <source>Syncing %1...</source>
        <translation>%1 wird synchronisiert ...</translation>
    </message>
    <message>
        <source>“%1” could not be fetched from %2</source>
        <translation>„%1“ konnte nicht von %2 abgerufen werden</translation>
    </message>
</context>
<context>
    <name>AddonryView</name>
    <message>
        <source>Enabled</source>
        <translation>Aktiviert</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Deaktiviert</translation>
    </message>
    <message>
        <source>Current User</source>
        <translation>Aktueller Benutzer</translation>
    </message>
    <message>
        <source>All Users</source>
        <translation>Alle Benutzer</translation>
    </message>
    <message>
        <source>Addonry</source>
        <translation>Addonry</translation>
    </message>
    <message>
        <source>Compare, enable and synchronise the plug-ins of the editing suite</source>
        <translation>Die Plug-ins der Schnittsuite vergleichen, aktivieren und synchronisieren</translation>
    </message>
    <message>
        <source>Plug-ins</source>
        <translation>Plug-ins</translation>
    </message>
    <message>
        <source>%1 plug-in</source>
        <translation>%1 Plug-in</translation>
    </message>
    <message>
        <source>%1 plug-ins</source>
        <translation>%1 Plug-ins</translation>
    </message>
    <message>
        <source>Filter plug-ins</source>
        <translation>Plug-ins filtern</translation>
    </message>
    <message>
        <source>Show only plug-ins that are not the same on all computers that answered</source>
        <translation>Nur Plug-ins anzeigen, die nicht auf allen antwortenden Computern gleich sind</translation>
    </message>
    <message>
        <source>No matching plug-in</source>
        <translation>Kein passendes Plug-in</translation>
    </message>
    <message>
        <source>No plug-in passes the filter.</source>
        <translation>Kein Plug-in entspricht dem Filter.</translation>
    </message>
    <message>
        <source>Select computers to list their plug-ins</source>
        <translation>Wählen Sie Computer aus, um ihre Plug-ins aufzulisten</translation>
    </message>
    <message>
        <source>Reading plug-ins…</source>
        <translation>Plug-ins werden gelesen …</translation>
    </message>
    <message>
        <source>Plug-ins are read as soon as a computer is connected.</source>
        <translation>Plug-ins werden gelesen, sobald ein Computer verbunden ist.</translation>
    </message>
    <message>
        <source>No plug-ins found on the selected computers</source>
        <translation>Auf den ausgewählten Computern wurden keine Plug-ins gefunden</translation>
    </message>
    <message>
        <source>Plug-ins have not been read yet</source>
        <translation>Die Plug-ins wurden noch nicht gelesen</translation>
    </message>
    <message>
        <source>nothing is installed there</source>
        <translation>dort wird nichts installiert</translation>
    </message>
    <message>
        <source>Bring the newest version of every plug-in that differs to all selected computers that answered, with the settings that most of them have</source>
        <translation>Die neueste Version jedes abweichenden Plug-ins auf alle ausgewählten Computer bringen, die geantwortet haben, mit den Einstellungen, die die meisten von ihnen haben</translation>
    </message>
    <message>
        <source>Enable</source>
        <translation>Aktivieren</translation>
    </message>
    <message>
        <source>Disable</source>
        <translation>Deaktivieren</translation>
    </message>
    <message>
        <source>Install for All Users</source>
        <translation>Für alle Benutzer installieren</translation>
    </message>
    <message>
        <source>Install for Current User</source>
        <translation>Für aktuellen Benutzer installieren</translation>
    </message>
</context>
<context>
    <name>Aggregation</name>
    <message>
        <source>Not installed</source>
        <translation>Nicht installiert</translation>
    </message>
    <message>
        <source>Running</source>
        <translation>Läuft</translation>
    </message>
    <message>
        <source>Not running</source>
        <translation>Läuft nicht</translation>
    </message>
    <message>
        <source>Some running</source>
        <translation>Einige laufen</translation>
    </message>
</context>
<context>
    <name>AppController</name>
    <message>
        <source>The computer&apos;s client agent has crashed. Its crash log is “%1”.</source>
        <translation>Der Client-Agent des Computers ist abgestürzt. Sein Absturzprotokoll ist „%1“.</translation>
    </message>
</context>
<context>
    <name>AuthSheet</name>
    <message>
        <source>Authorization</source>
        <translation>Autorisierung</translation>
    </message>
    <message>
        <source>Use for all selected computers</source>
        <translation>Für alle ausgewählten Computer verwenden</translation>
    </message>
    <message>
        <source>Remember the password in my keyring</source>
        <translation>Passwort in meinem Schlüsselbund speichern</translation>
    </message>
    <message>
        <source>User Name</source>
        <translation>Benutzername</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>No keyring answers on this desktop: the password is forgotten when Orlendo quits.</source>
        <translation>Auf diesem Desktop antwortet kein Schlüsselbund: Das Passwort wird vergessen, wenn Orlendo beendet wird.</translation>
    </message>
    <message>
        <source>Skip</source>
        <translation>Überspringen</translation>
    </message>
    <message>
        <source>Leave this computer out and go on with the others</source>
        <translation>Diesen Computer auslassen und mit den anderen fortfahren</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Authorization for %1</source>
        <translation>Autorisierung für %1</translation>
    </message>
    <message>
        <source>For %1.</source>
        <translation>Für %1.</translation>
    </message>
    <message>
        <source>For %1 on %2.</source>
        <translation>Für %1 auf %2.</translation>
    </message>
    <message>
        <source>Checking with %1…</source>
        <translation>Wird mit %1 überprüft …</translation>
    </message>
</context>
<context>
    <name>AuthorizationController</name>
    <message>
        <source>Please enter an administrator username and password:</source>
        <translation>Bitte geben Sie Benutzername und Passwort eines Administrators ein:</translation>
    </message>
    <message>
        <source>Unable to check the password</source>
        <translation>Das Passwort konnte nicht überprüft werden</translation>
    </message>
    <message>
        <source>%1 does not answer. Please try again, or skip this computer.</source>
        <translation>%1 antwortet nicht. Bitte versuchen Sie es erneut oder überspringen Sie diesen Computer.</translation>
    </message>
    <message>
        <source>Invalid username or password</source>
        <translation>Ungültiger Benutzername oder ungültiges Passwort</translation>
    </message>
    <message>
        <source>Please enter a valid admin username and password for %@.</source>
        <translation>Bitte geben Sie einen gültigen Administrator-Benutzernamen und das Passwort für %@ ein.</translation>
    </message>
    <message>
        <source>Are you sure you wish to remove all stored passwords?</source>
        <translation>Möchten Sie wirklich alle gespeicherten Passwörter entfernen?</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>You will be required to re-enter them next time you perform an authorized action.</source>
        <translation>Sie müssen sie erneut eingeben, wenn Sie das nächste Mal eine Aktion ausführen, die eine Autorisierung erfordert.</translation>
    </message>
</context>
<context>
    <name>AuthorizedRunner</name>
    <message>
        <source>no password was given</source>
        <translation>es wurde kein Passwort angegeben</translation>
    </message>
    <message>
        <source>its agent does not know this operation</source>
        <translation>sein Agent kennt diesen Vorgang nicht</translation>
    </message>
</context>
<context>
    <name>BackupList</name>
    <message>
        <source>Standard</source>
        <translation>Standard</translation>
    </message>
    <message>
        <source>Known Good</source>
        <translation>Bewährt</translation>
    </message>
    <message>
        <source>Before Update</source>
        <translation>Vor dem Update</translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation>Automatisch</translation>
    </message>
    <message>
        <source>Type %1</source>
        <translation>Typ %1</translation>
    </message>
</context>
<context>
    <name>BackupModel</name>
    <message>
        <source>Backup</source>
        <translation>Sicherung</translation>
    </message>
    <message>
        <source>Computer</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <source>Date</source>
        <translation>Datum</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen</translation>
    </message>
</context>
<context>
    <name>BackupPane</name>
    <message>
        <source>Backups</source>
        <translation>Sicherungen</translation>
    </message>
    <message>
        <source>%1 backup</source>
        <translation>%1 Sicherung</translation>
    </message>
    <message>
        <source>%1 backups</source>
        <translation>%1 Sicherungen</translation>
    </message>
    <message>
        <source>Filter backups</source>
        <translation>Sicherungen filtern</translation>
    </message>
    <message>
        <source>No matching backup</source>
        <translation>Keine passende Sicherung</translation>
    </message>
    <message>
        <source>No backup passes the filter.</source>
        <translation>Keine Sicherung entspricht dem Filter.</translation>
    </message>
    <message>
        <source>Select computers to list their backups</source>
        <translation>Wählen Sie Computer aus, um ihre Sicherungen aufzulisten</translation>
    </message>
    <message>
        <source>Reading backups…</source>
        <translation>Sicherungen werden gelesen …</translation>
    </message>
    <message>
        <source>Backups are read as soon as a computer is connected.</source>
        <translation>Sicherungen werden gelesen, sobald ein Computer verbunden ist.</translation>
    </message>
    <message>
        <source>No backups found on the selected computers</source>
        <translation>Auf den ausgewählten Computern wurden keine Sicherungen gefunden</translation>
    </message>
    <message>
        <source>Backups have not been read yet</source>
        <translation>Die Sicherungen wurden noch nicht gelesen</translation>
    </message>
    <message>
        <source>Tick preferences above and choose Back Up.</source>
        <translation>Markieren Sie oben Einstellungen und wählen Sie „Sichern“.</translation>
    </message>
    <message>
        <source>Restore…</source>
        <translation>Wiederherstellen …</translation>
    </message>
    <message>
        <source>Puts the preferences of the selected backup in place on every selected computer.
Those that are there now are replaced.</source>
        <translation>Stellt die Einstellungen der ausgewählten Sicherung auf jedem ausgewählten Computer wieder her.
Die dort vorhandenen Einstellungen werden ersetzt.</translation>
    </message>
    <message>
        <source>%1 on 1 computer</source>
        <translation>%1 auf 1 Computer</translation>
    </message>
    <message>
        <source>%1 on %2 computers</source>
        <translation>%1 auf %2 Computern</translation>
    </message>
    <message>
        <source>Restore “%1” on %2?</source>
        <translation>„%1“ auf %2 wiederherstellen?</translation>
    </message>
    <message>
        <source>Restore “%1” on %2 computers?</source>
        <translation>„%1“ auf %2 Computern wiederherstellen?</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>Wiederherstellen</translation>
    </message>
    <message>
        <source>The preferences in this backup replace those on %1.</source>
        <translation>Die Einstellungen in dieser Sicherung ersetzen die Einstellungen auf %1.</translation>
    </message>
</context>
<context>
    <name>BackupSheet</name>
    <message>
        <source>Back Up Preferences</source>
        <translation>Einstellungen sichern</translation>
    </message>
    <message>
        <source>Before the summer project</source>
        <translation>Vor dem Sommerprojekt</translation>
    </message>
    <message>
        <source>A note for later: what this backup stands for</source>
        <translation>Eine Notiz für später: wofür diese Sicherung steht</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <source>Back Up</source>
        <translation>Sichern</translation>
    </message>
    <message>
        <source>The ticked preferences are kept on the selected computer: %1.</source>
        <translation>Die markierten Einstellungen werden auf dem ausgewählten Computer gesichert: %1.</translation>
    </message>
    <message>
        <source>The ticked preferences are kept on each of the %1 selected computers: %2.</source>
        <translation>Die markierten Einstellungen werden auf jedem der %1 ausgewählten Computer gesichert: %2.</translation>
    </message>
    <message>
        <source>Quick Backup</source>
        <translation>Schnellsicherung</translation>
    </message>
    <message>
        <source>The main preferences of all applications are kept on the selected computer, whatever is ticked.</source>
        <translation>Die wichtigsten Einstellungen aller Anwendungen werden auf dem ausgewählten Computer gesichert, unabhängig davon, was markiert ist.</translation>
    </message>
    <message>
        <source>The main preferences of all applications are kept on each of the %1 selected computers, whatever is ticked.</source>
        <translation>Die wichtigsten Einstellungen aller Anwendungen werden auf jedem der %1 ausgewählten Computer gesichert, unabhängig davon, was markiert ist.</translation>
    </message>
</context>
<context>
    <name>BadgeClicks</name>
    <message>
        <source>Cancel the maintenance request of “%1”?</source>
        <translation>Die Wartungsanfrage von „%1“ aufheben?</translation>
    </message>
    <message>
        <source>The computer asks for maintenance. When nothing is left to do on it, cancel the request: the mark goes from the list, and the computer is told.</source>
        <translation>Der Computer bittet um Wartung. Wenn auf ihm nichts mehr zu tun ist, heben Sie die Anfrage auf: Die Markierung verschwindet aus der Liste und der Computer wird benachrichtigt.</translation>
    </message>
    <message>
        <source>Keep Request</source>
        <translation>Anfrage beibehalten</translation>
    </message>
    <message>
        <source>Cancel Request</source>
        <translation>Anfrage aufheben</translation>
    </message>
    <message>
        <source>it is disabled. Enable the computer first</source>
        <translation>er ist deaktiviert. Aktivieren Sie zuerst den Computer</translation>
    </message>
    <message>
        <source>its client software is not in order. Show its errors</source>
        <translation>seine Client-Software ist nicht in Ordnung. Zeigen Sie seine Fehler an</translation>
    </message>
    <message>
        <source>it is not connected. Connect to it first</source>
        <translation>er ist nicht verbunden. Stellen Sie zuerst eine Verbindung zu ihm her</translation>
    </message>
    <message>
        <source>“%1” asks for maintenance</source>
        <translation>„%1“ bittet um Wartung</translation>
    </message>
    <message>
        <source>The request cannot be cancelled from here at present: the computer cannot be told, because %1.</source>
        <translation>Die Anfrage kann derzeit nicht von hier aus aufgehoben werden: Der Computer kann nicht benachrichtigt werden, denn %1.</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>%1 software update for “%2”</source>
        <translation>%1 Softwareupdate für „%2“</translation>
    </message>
    <message>
        <source>%1 software updates for “%2”</source>
        <translation>%1 Softwareupdates für „%2“</translation>
    </message>
    <message>
        <source>Installing software updates is not part of this version yet. They can be installed on the computer itself.</source>
        <translation>Das Installieren von Softwareupdates ist in dieser Version noch nicht enthalten. Sie können auf dem Computer selbst installiert werden.</translation>
    </message>
</context>
<context>
    <name>ClientActions</name>
    <message>
        <source>Show Information</source>
        <translation>Informationen anzeigen</translation>
    </message>
    <message>
        <source>Show what is known of the computer</source>
        <translation>Anzeigen, was über den Computer bekannt ist</translation>
    </message>
    <message>
        <source>Review New Identity…</source>
        <translation>Neue Identität prüfen …</translation>
    </message>
    <message>
        <source>Compare the computer&apos;s new key with the one it was known by</source>
        <translation>Den neuen Schlüssel des Computers mit dem bisher bekannten vergleichen</translation>
    </message>
    <message>
        <source>Reconnect</source>
        <translation>Neu verbinden</translation>
    </message>
    <message>
        <source>Reconnect %1 Computers</source>
        <translation>%1 Computer neu verbinden</translation>
    </message>
    <message>
        <source>Connect to the computer anew</source>
        <translation>Die Verbindung zum Computer neu herstellen</translation>
    </message>
    <message>
        <source>Disconnect</source>
        <translation>Verbindung trennen</translation>
    </message>
    <message>
        <source>End the connection and take the computer off the list; one that was added by hand is also forgotten, after asking</source>
        <translation>Die Verbindung beenden und den Computer aus der Liste nehmen; ein von Hand hinzugefügter Computer wird nach Rückfrage auch vergessen</translation>
    </message>
    <message>
        <source>Refresh Client Info</source>
        <translation>Client-Informationen aktualisieren</translation>
    </message>
    <message>
        <source>Refresh Client Info of %1 Computers</source>
        <translation>Client-Informationen von %1 Computern aktualisieren</translation>
    </message>
    <message>
        <source>Read the computer&apos;s configuration again</source>
        <translation>Die Konfiguration des Computers erneut lesen</translation>
    </message>
    <message>
        <source>Cancel Maintenance Request</source>
        <translation>Wartungsanfrage aufheben</translation>
    </message>
    <message>
        <source>Cancel %1 Maintenance Requests</source>
        <translation>%1 Wartungsanfragen aufheben</translation>
    </message>
    <message>
        <source>Tell the computer that its request for maintenance is done with</source>
        <translation>Dem Computer mitteilen, dass seine Wartungsanfrage erledigt ist</translation>
    </message>
    <message>
        <source>Show Errors</source>
        <translation>Fehler anzeigen</translation>
    </message>
    <message>
        <source>Show the computer&apos;s errors in the error log</source>
        <translation>Die Fehler des Computers im Fehlerprotokoll anzeigen</translation>
    </message>
    <message>
        <source>Show Software Updates</source>
        <translation>Softwareupdates anzeigen</translation>
    </message>
    <message>
        <source>Show the software updates that wait for the computer</source>
        <translation>Die für den Computer ausstehenden Softwareupdates anzeigen</translation>
    </message>
    <message>
        <source>Restart Client</source>
        <translation>Client neu starten</translation>
    </message>
    <message>
        <source>Restart %1 Clients…</source>
        <translation>%1 Clients neu starten …</translation>
    </message>
    <message>
        <source>Start the computer&apos;s client agent anew</source>
        <translation>Den Client-Agenten des Computers neu starten</translation>
    </message>
    <message>
        <source>Stop Client…</source>
        <translation>Client beenden …</translation>
    </message>
    <message>
        <source>Stop %1 Clients…</source>
        <translation>%1 Clients beenden …</translation>
    </message>
    <message>
        <source>End the computer&apos;s client agent; it has to be started there again</source>
        <translation>Den Client-Agenten des Computers beenden; er muss dort wieder gestartet werden</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Restart the client agents of %1 computers?</source>
        <translation>Die Client-Agenten von %1 Computern neu starten?</translation>
    </message>
    <message>
        <source>Restart</source>
        <translation>Neu starten</translation>
    </message>
    <message>
        <source>What the agents are doing is cut short; they connect again by themselves.</source>
        <translation>Was die Agenten gerade ausführen, wird abgebrochen; sie verbinden sich von selbst wieder.</translation>
    </message>
    <message>
        <source>Stop the client agent of “%1”?</source>
        <translation>Den Client-Agenten von „%1“ beenden?</translation>
    </message>
    <message>
        <source>Stop the client agents of %1 computers?</source>
        <translation>Die Client-Agenten von %1 Computern beenden?</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Orlendo cannot start it again: that has to be done on the computer itself.</source>
        <translation>Orlendo kann ihn nicht wieder starten: Das muss auf dem Computer selbst geschehen.</translation>
    </message>
    <message>
        <source>Remove “%1”?</source>
        <translation>„%1“ entfernen?</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>The computer was added by hand. To have it in the list again, its address and port must be entered again.</source>
        <translation>Der Computer wurde von Hand hinzugefügt. Damit er wieder in der Liste erscheint, müssen seine Adresse und sein Port erneut eingegeben werden.</translation>
    </message>
    <message>
        <source>Disable Computer</source>
        <translation>Computer deaktivieren</translation>
    </message>
    <message>
        <source>Leave the computer out of what is done with the selected ones</source>
        <translation>Den Computer bei Aktionen für die ausgewählten Computer auslassen</translation>
    </message>
    <message>
        <source>Enable Computer</source>
        <translation>Computer aktivieren</translation>
    </message>
    <message>
        <source>Disable %1 Computers</source>
        <translation>%1 Computer deaktivieren</translation>
    </message>
    <message>
        <source>Enable %1 Computers</source>
        <translation>%1 Computer aktivieren</translation>
    </message>
</context>
<context>
    <name>ClientCommands</name>
    <message>
        <source>Restart Client</source>
        <translation>Client neu starten</translation>
    </message>
    <message>
        <source>Restarted the client</source>
        <translation>Client neu gestartet</translation>
    </message>
    <message>
        <source>Stop Client</source>
        <translation>Client beenden</translation>
    </message>
    <message>
        <source>Stopped the client</source>
        <translation>Client beendet</translation>
    </message>
    <message>
        <source>Cancel Maintenance</source>
        <translation>Wartung aufheben</translation>
    </message>
    <message>
        <source>Cancelled maintenance</source>
        <translation>Wartung aufgehoben</translation>
    </message>
</context>
<context>
    <name>ClientInfo</name>
    <message>
        <source>unknown</source>
        <translation>unbekannt</translation>
    </message>
    <message>
        <source>none</source>
        <translation>keine</translation>
    </message>
    <message>
        <source>not reported</source>
        <translation>nicht gemeldet</translation>
    </message>
    <message>
        <source>Added by hand</source>
        <translation>Von Hand hinzugefügt</translation>
    </message>
    <message>
        <source>Demonstration</source>
        <translation>Demonstration</translation>
    </message>
    <message>
        <source>Found on the network</source>
        <translation>Im Netzwerk gefunden</translation>
    </message>
    <message>
        <source>Connected</source>
        <translation>Verbunden</translation>
    </message>
    <message>
        <source>Not connected</source>
        <translation>Nicht verbunden</translation>
    </message>
    <message>
        <source>Requested</source>
        <translation>Angefordert</translation>
    </message>
    <message>
        <source>Not requested</source>
        <translation>Nicht angefordert</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Host name</source>
        <translation>Hostname</translation>
    </message>
    <message>
        <source>Other names</source>
        <translation>Andere Namen</translation>
    </message>
    <message>
        <source>Address</source>
        <translation>Adresse</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>Port</translation>
    </message>
    <message>
        <source>Model</source>
        <translation>Modell</translation>
    </message>
    <message>
        <source>Listed</source>
        <translation>Herkunft</translation>
    </message>
    <message>
        <source>Group</source>
        <translation>Gruppe</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>Last error</source>
        <translation>Letzter Fehler</translation>
    </message>
    <message>
        <source>Key fingerprint</source>
        <translation>Schlüssel-Fingerabdruck</translation>
    </message>
    <message>
        <source>Agent version</source>
        <translation>Agent-Version</translation>
    </message>
    <message>
        <source>Suite version</source>
        <translation>Suite-Version</translation>
    </message>
    <message>
        <source>Needs console</source>
        <translation>Benötigt Konsole</translation>
    </message>
    <message>
        <source>Preferred name</source>
        <translation>Bevorzugter Name</translation>
    </message>
    <message>
        <source>Maintenance</source>
        <translation>Wartung</translation>
    </message>
    <message>
        <source>Updates waiting</source>
        <translation>Ausstehende Updates</translation>
    </message>
    <message>
        <source>Last counted</source>
        <translation>Zuletzt gezählt</translation>
    </message>
    <message>
        <source>Own crash log</source>
        <translation>Eigenes Absturzprotokoll</translation>
    </message>
</context>
<context>
    <name>ClientInfoPanel</name>
    <message>
        <source>Information</source>
        <translation>Informationen</translation>
    </message>
    <message>
        <source>Select one computer</source>
        <translation>Wählen Sie einen Computer aus</translation>
    </message>
    <message>
        <source>What is known of it is shown here.</source>
        <translation>Was über ihn bekannt ist, wird hier angezeigt.</translation>
    </message>
    <message>
        <source>Picture of the computer</source>
        <translation>Bild des Computers</translation>
    </message>
    <message>
        <source>Copy All</source>
        <translation>Alles kopieren</translation>
    </message>
    <message>
        <source>Copy everything shown as text</source>
        <translation>Alle angezeigten Angaben als Text kopieren</translation>
    </message>
</context>
<context>
    <name>ClientOutline</name>
    <message>
        <source>Search computers</source>
        <translation>Computer suchen</translation>
    </message>
    <message>
        <source>New group</source>
        <translation>Neue Gruppe</translation>
    </message>
    <message>
        <source>Computers</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>No computers found yet</source>
        <translation>Noch keine Computer gefunden</translation>
    </message>
    <message>
        <source>Computers that run the client agent appear here by themselves. You can also add one by its address.</source>
        <translation>Computer, auf denen der Client-Agent läuft, erscheinen hier von selbst. Sie können auch einen Computer über seine Adresse hinzufügen.</translation>
    </message>
    <message>
        <source>Add Computer…</source>
        <translation>Computer hinzufügen …</translation>
    </message>
    <message>
        <source>No matching computer</source>
        <translation>Kein passender Computer</translation>
    </message>
    <message>
        <source>No name, address or model contains “%1”.</source>
        <translation>Weder Name noch Adresse oder Modell enthält „%1“.</translation>
    </message>
    <message>
        <source>Clear Search</source>
        <translation>Suche löschen</translation>
    </message>
</context>
<context>
    <name>ClientOutlineModel</name>
    <message>
        <source>1 computer</source>
        <translation>1 Computer</translation>
    </message>
    <message>
        <source>%1 computers</source>
        <translation>%1 Computer</translation>
    </message>
    <message>
        <source>Work on every computer of the list, also on those found later</source>
        <translation>Mit allen Computern der Liste arbeiten, auch mit später gefundenen</translation>
    </message>
    <message>
        <source>Empty: drag computers here</source>
        <translation>Leer: Computer hierher ziehen</translation>
    </message>
    <message>
        <source>%1 more not found at present</source>
        <translation>%1 weitere derzeit nicht gefunden</translation>
    </message>
    <message>
        <source>Asks for maintenance</source>
        <translation>Bittet um Wartung</translation>
    </message>
    <message>
        <source>1 error in the error log</source>
        <translation>1 Fehler im Fehlerprotokoll</translation>
    </message>
    <message>
        <source>%1 errors in the error log</source>
        <translation>%1 Fehler im Fehlerprotokoll</translation>
    </message>
    <message>
        <source>1 software update available</source>
        <translation>1 Softwareupdate verfügbar</translation>
    </message>
    <message>
        <source>%1 software updates available</source>
        <translation>%1 Softwareupdates verfügbar</translation>
    </message>
    <message>
        <source>%1, port %2</source>
        <translation>%1, Port %2</translation>
    </message>
    <message>
        <source>Added by hand</source>
        <translation>Von Hand hinzugefügt</translation>
    </message>
</context>
<context>
    <name>ClientRowDelegate</name>
    <message>
        <source>Drag computers here</source>
        <translation>Computer hierher ziehen</translation>
    </message>
    <message>
        <source>Empty</source>
        <translation>Leer</translation>
    </message>
    <message>
        <source>1 software update available</source>
        <translation>1 Softwareupdate verfügbar</translation>
    </message>
    <message>
        <source>%1 software updates available</source>
        <translation>%1 Softwareupdates verfügbar</translation>
    </message>
    <message>
        <source>1 error. Click to see them in the error log</source>
        <translation>1 Fehler. Klicken Sie, um ihn im Fehlerprotokoll anzuzeigen</translation>
    </message>
    <message>
        <source>%1 errors. Click to see them in the error log</source>
        <translation>%1 Fehler. Klicken Sie, um sie im Fehlerprotokoll anzuzeigen</translation>
    </message>
    <message>
        <source>Asks for maintenance. Click to cancel the request</source>
        <translation>Bittet um Wartung. Klicken Sie, um die Anfrage aufzuheben</translation>
    </message>
    <message>
        <source>Name of the group</source>
        <translation>Name der Gruppe</translation>
    </message>
</context>
<context>
    <name>ClientState</name>
    <message>
        <source>Client software out of date</source>
        <translation>Client-Software veraltet</translation>
    </message>
    <message>
        <source>Suite out of date</source>
        <translation>Suite veraltet</translation>
    </message>
    <message>
        <source>No configuration received</source>
        <translation>Keine Konfiguration empfangen</translation>
    </message>
    <message>
        <source>Identity changed — review</source>
        <translation>Identität geändert – prüfen</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Deaktiviert</translation>
    </message>
    <message>
        <source>Working…</source>
        <translation>In Arbeit …</translation>
    </message>
    <message>
        <source>Connecting…</source>
        <translation>Verbindung wird hergestellt …</translation>
    </message>
    <message>
        <source>Not connected</source>
        <translation>Nicht verbunden</translation>
    </message>
    <message>
        <source>Not connected — %1</source>
        <translation>Nicht verbunden – %1</translation>
    </message>
</context>
<context>
    <name>ClientWindows</name>
    <message>
        <source>Connection &amp;Troubleshooter…</source>
        <translation>&amp;Verbindungshilfe …</translation>
    </message>
    <message>
        <source>What is wrong with computers that cannot be reached, and what to try</source>
        <translation>Was mit Computern nicht stimmt, die nicht erreichbar sind, und was zu versuchen ist</translation>
    </message>
</context>
<context>
    <name>CorvalinError</name>
    <message>
        <source>Unknown error. Please check error logs on the local machine.</source>
        <translation>Unbekannter Fehler. Bitte überprüfen Sie die Fehlerprotokolle auf dem lokalen Computer.</translation>
    </message>
    <message>
        <source>Application %@ not found.</source>
        <translation>Die Anwendung %@ wurde nicht gefunden.</translation>
    </message>
    <message>
        <source>Could not find Info.plist file for application %@ not found.</source>
        <translation>Die Datei Info.plist für die Anwendung %@ wurde nicht gefunden.</translation>
    </message>
    <message>
        <source>Application %@ is outdated. Please update this application.</source>
        <translation>Die Anwendung %@ ist veraltet. Bitte aktualisieren Sie diese Anwendung.</translation>
    </message>
    <message>
        <source>Task not found for application %@. Please update this application.</source>
        <translation>Die Aufgabe für die Anwendung %@ wurde nicht gefunden. Bitte aktualisieren Sie diese Anwendung.</translation>
    </message>
    <message>
        <source>The task was canceled because the destination computer was too busy. Switch off this setting in the application&apos;s preferences in order to prevent this in the future.</source>
        <translation>Die Aufgabe wurde abgebrochen, weil der Zielcomputer zu stark ausgelastet war. Um dies künftig zu verhindern, schalten Sie diese Option in den Einstellungen der Anwendung aus.</translation>
    </message>
    <message>
        <source>Incorrect username or password.</source>
        <translation>Falscher Benutzername oder falsches Passwort.</translation>
    </message>
    <message>
        <source>Corvalin is not installed properly or the version you are using is outdated. Please install a recent version of Corvalin on this computer.</source>
        <translation>Corvalin ist nicht richtig installiert oder die verwendete Version ist veraltet. Bitte installieren Sie eine aktuelle Version von Corvalin auf diesem Computer.</translation>
    </message>
    <message>
        <source>Corvalin Network Client is outdated on this machine. Please install a more recent version.</source>
        <translation>Corvalin Network Client ist auf diesem Computer veraltet. Bitte installieren Sie eine neuere Version.</translation>
    </message>
    <message>
        <source>Corvalin is outdated on this machine. Please install a more recent version.</source>
        <translation>Corvalin ist auf diesem Computer veraltet. Bitte installieren Sie eine neuere Version.</translation>
    </message>
    <message>
        <source>Connection timed out. Please make sure that you have the latest version of the client software.</source>
        <translation>Zeitüberschreitung der Verbindung. Bitte stellen Sie sicher, dass Sie die neueste Version der Client-Software haben.</translation>
    </message>
</context>
<context>
    <name>CronwellController</name>
    <message>
        <source>Enable</source>
        <translation>Aktivieren</translation>
    </message>
    <message>
        <source>Disable</source>
        <translation>Deaktivieren</translation>
    </message>
    <message>
        <source>Enabled</source>
        <translation>Aktiviert</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Deaktiviert</translation>
    </message>
    <message>
        <source>%1 tasks</source>
        <translation>%1 Aufgaben</translation>
    </message>
    <message>
        <source>all tasks</source>
        <translation>alle Aufgaben</translation>
    </message>
    <message>
        <source>These tasks have become others by now: %1.</source>
        <translation>Diese Aufgaben haben sich inzwischen geändert: %1.</translation>
    </message>
    <message>
        <source>%1 more</source>
        <translation>%1 weitere</translation>
    </message>
    <message>
        <source>Are you sure you wish to delete this task?</source>
        <translation>Möchten Sie diese Aufgabe wirklich löschen?</translation>
    </message>
    <message>
        <source>Are you sure you wish to delete these tasks?</source>
        <translation>Möchten Sie diese Aufgaben wirklich löschen?</translation>
    </message>
    <message>
        <source>Only on %1. This cannot be undone.</source>
        <translation>Nur auf %1. Dies kann nicht rückgängig gemacht werden.</translation>
    </message>
    <message>
        <source>This cannot be undone.</source>
        <translation>Dies kann nicht rückgängig gemacht werden.</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Removed</source>
        <translation>Entfernt</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <source>Added</source>
        <translation>Hinzugefügt</translation>
    </message>
    <message>
        <source>Synchronise</source>
        <translation>Synchronisieren</translation>
    </message>
    <message>
        <source>Synchronised</source>
        <translation>Synchronisiert</translation>
    </message>
    <message>
        <source>tasks</source>
        <translation>Aufgaben</translation>
    </message>
</context>
<context>
    <name>CronwellView</name>
    <message>
        <source>Enabled</source>
        <translation>Aktiviert</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Deaktiviert</translation>
    </message>
    <message>
        <source>Root</source>
        <translation>Root</translation>
    </message>
    <message>
        <source>User</source>
        <translation>Benutzer</translation>
    </message>
    <message>
        <source>Cronwell</source>
        <translation>Cronwell</translation>
    </message>
    <message>
        <source>Schedule maintenance tasks</source>
        <translation>Wartungsaufgaben planen</translation>
    </message>
    <message>
        <source>Scheduled tasks</source>
        <translation>Geplante Aufgaben</translation>
    </message>
    <message>
        <source>%1 task</source>
        <translation>%1 Aufgabe</translation>
    </message>
    <message>
        <source>%1 tasks</source>
        <translation>%1 Aufgaben</translation>
    </message>
    <message>
        <source>Filter tasks</source>
        <translation>Aufgaben filtern</translation>
    </message>
    <message>
        <source>Show only tasks that are not the same on all computers that answered</source>
        <translation>Nur Aufgaben anzeigen, die nicht auf allen antwortenden Computern gleich sind</translation>
    </message>
    <message>
        <source>No matching task</source>
        <translation>Keine passende Aufgabe</translation>
    </message>
    <message>
        <source>No task passes the filter.</source>
        <translation>Keine Aufgabe entspricht dem Filter.</translation>
    </message>
    <message>
        <source>Select computers to list their tasks</source>
        <translation>Wählen Sie Computer aus, um ihre Aufgaben aufzulisten</translation>
    </message>
    <message>
        <source>Reading tasks…</source>
        <translation>Aufgaben werden gelesen …</translation>
    </message>
    <message>
        <source>Scheduled tasks are read as soon as a computer is connected.</source>
        <translation>Geplante Aufgaben werden gelesen, sobald ein Computer verbunden ist.</translation>
    </message>
    <message>
        <source>No tasks found on the selected computers</source>
        <translation>Auf den ausgewählten Computern wurden keine Aufgaben gefunden</translation>
    </message>
    <message>
        <source>Scheduled tasks have not been read yet</source>
        <translation>Die geplanten Aufgaben wurden noch nicht gelesen</translation>
    </message>
    <message>
        <source>nothing is added there</source>
        <translation>dort wird nichts hinzugefügt</translation>
    </message>
    <message>
        <source>Remove…</source>
        <translation>Entfernen …</translation>
    </message>
    <message>
        <source>Add…</source>
        <translation>Hinzufügen …</translation>
    </message>
    <message>
        <source>Schedule a task on all selected computers</source>
        <translation>Eine Aufgabe auf allen ausgewählten Computern planen</translation>
    </message>
    <message>
        <source>Delete the selected tasks from every computer that has them,
or only the selected jobs of single computers</source>
        <translation>Die ausgewählten Aufgaben von allen Computern löschen, auf denen sie vorhanden sind,
oder nur die ausgewählten Aufträge einzelner Computer</translation>
    </message>
    <message>
        <source>Give every task that differs the schedule that most computers have, and add it where it is missing</source>
        <translation>Jeder abweichenden Aufgabe den Zeitplan geben, den die meisten Computer haben, und sie hinzufügen, wo sie fehlt</translation>
    </message>
    <message>
        <source>Add Task</source>
        <translation>Aufgabe hinzufügen</translation>
    </message>
    <message>
        <source>Enable</source>
        <translation>Aktivieren</translation>
    </message>
    <message>
        <source>Disable</source>
        <translation>Deaktivieren</translation>
    </message>
    <message>
        <source>Add Task…</source>
        <translation>Aufgabe hinzufügen …</translation>
    </message>
</context>
<context>
    <name>ErrorLog</name>
    <message>
        <source>%i error</source>
        <translation>%i Fehler</translation>
    </message>
    <message>
        <source>%i errors</source>
        <translation>%i Fehler</translation>
    </message>
</context>
<context>
    <name>ErrorLogModel</name>
    <message>
        <source>Date</source>
        <translation>Datum</translation>
    </message>
    <message>
        <source>Computer</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>Tool</source>
        <translation>Werkzeug</translation>
    </message>
    <message>
        <source>Action</source>
        <translation>Aktion</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>Beschreibung</translation>
    </message>
</context>
<context>
    <name>ErrorLogWindow</name>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Upload…</source>
        <translation>Hochladen …</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Leeren</translation>
    </message>
    <message>
        <source>Error Log</source>
        <translation>Fehlerprotokoll</translation>
    </message>
    <message>
        <source>No errors</source>
        <translation>Keine Fehler</translation>
    </message>
    <message>
        <source>What goes wrong on a computer, or on the way to it, is listed here.</source>
        <translation>Was auf einem Computer oder auf dem Weg zu ihm schiefgeht, wird hier aufgeführt.</translation>
    </message>
    <message>
        <source>Copy the selected errors, or all when none is selected</source>
        <translation>Die ausgewählten Fehler kopieren oder alle, wenn keiner ausgewählt ist</translation>
    </message>
    <message>
        <source>Send all errors to the maker of Orlendo</source>
        <translation>Alle Fehler an den Hersteller von Orlendo senden</translation>
    </message>
    <message>
        <source>Errors</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Show Computer</source>
        <translation>Computer anzeigen</translation>
    </message>
    <message>
        <source>Select All of This Computer</source>
        <translation>Alle dieses Computers auswählen</translation>
    </message>
</context>
<context>
    <name>FailingClientsModel</name>
    <message>
        <source>, connecting</source>
        <translation>, Verbindung wird hergestellt</translation>
    </message>
</context>
<context>
    <name>GroupActions</name>
    <message>
        <source>Move to &amp;Group</source>
        <translation>In &amp;Gruppe verschieben</translation>
    </message>
    <message>
        <source>New &amp;Group…</source>
        <translation>&amp;Neue Gruppe …</translation>
    </message>
    <message>
        <source>Add a group to the list of computers</source>
        <translation>Der Computerliste eine Gruppe hinzufügen</translation>
    </message>
    <message>
        <source>Re&amp;name Group</source>
        <translation>Gruppe &amp;umbenennen</translation>
    </message>
    <message>
        <source>Change the name of the selected group</source>
        <translation>Den Namen der ausgewählten Gruppe ändern</translation>
    </message>
    <message>
        <source>&amp;Delete Group…</source>
        <translation>Gruppe &amp;löschen …</translation>
    </message>
    <message>
        <source>Remove the selected group; its computers stay in the list</source>
        <translation>Die ausgewählte Gruppe entfernen; ihre Computer bleiben in der Liste</translation>
    </message>
    <message>
        <source>Collapse</source>
        <translation>Zuklappen</translation>
    </message>
    <message>
        <source>Hide or show the group&apos;s computers</source>
        <translation>Die Computer der Gruppe aus- oder einblenden</translation>
    </message>
    <message>
        <source>Forget Missing Computers</source>
        <translation>Fehlende Computer vergessen</translation>
    </message>
    <message>
        <source>Those of the group that are not found at present</source>
        <translation>Computer der Gruppe, die derzeit nicht gefunden werden</translation>
    </message>
    <message>
        <source>Expand</source>
        <translation>Aufklappen</translation>
    </message>
    <message>
        <source>Its 1 computer stays in the list.</source>
        <translation>Ihr einziger Computer bleibt in der Liste.</translation>
    </message>
    <message>
        <source>Its %1 computers stay in the list.</source>
        <translation>Ihre %1 Computer bleiben in der Liste.</translation>
    </message>
    <message>
        <source>That 1 computer not found at present belongs to it is forgotten.</source>
        <translation>Die Zugehörigkeit von 1 derzeit nicht gefundenen Computer wird vergessen.</translation>
    </message>
    <message>
        <source>That %1 computers not found at present belong to it is forgotten.</source>
        <translation>Die Zugehörigkeit von %1 derzeit nicht gefundenen Computern wird vergessen.</translation>
    </message>
    <message>
        <source>Delete the group “%1”?</source>
        <translation>Die Gruppe „%1“ löschen?</translation>
    </message>
    <message>
        <source>Delete Group</source>
        <translation>Gruppe löschen</translation>
    </message>
    <message>
        <source>No Group</source>
        <translation>Keine Gruppe</translation>
    </message>
    <message>
        <source>Sort Computers &amp;By</source>
        <translation>Computer &amp;sortieren nach</translation>
    </message>
    <message>
        <source>&amp;Name</source>
        <translation>&amp;Name</translation>
    </message>
    <message>
        <source>&amp;State</source>
        <translation>&amp;Status</translation>
    </message>
    <message>
        <source>&amp;Address</source>
        <translation>&amp;Adresse</translation>
    </message>
    <message>
        <source>As&amp;cending</source>
        <translation>A&amp;ufsteigend</translation>
    </message>
    <message>
        <source>&amp;Descending</source>
        <translation>A&amp;bsteigend</translation>
    </message>
</context>
<context>
    <name>GroupSheet</name>
    <message>
        <source>New Group</source>
        <translation>Neue Gruppe</translation>
    </message>
    <message>
        <source>A group is a shortcut to the computers in it: select it to work on all of them. Drag computers into it and out of it at any time.</source>
        <translation>Eine Gruppe ist eine Abkürzung zu den Computern darin: Wählen Sie sie aus, um mit allen zu arbeiten. Sie können Computer jederzeit hinein- und herausziehen.</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Edit Bays</source>
        <translation>Schnittplätze</translation>
    </message>
    <message>
        <source>Put the selected computer into it</source>
        <translation>Den ausgewählten Computer hinzufügen</translation>
    </message>
    <message>
        <source>Put the %1 selected computers into it</source>
        <translation>Die %1 ausgewählten Computer hinzufügen</translation>
    </message>
    <message>
        <source>Add Group</source>
        <translation>Gruppe hinzufügen</translation>
    </message>
    <message>
        <source>As it should be listed</source>
        <translation>Wie sie in der Liste erscheinen soll</translation>
    </message>
</context>
<context>
    <name>IdentitySheet</name>
    <message>
        <source>not known</source>
        <translation>nicht bekannt</translation>
    </message>
    <message>
        <source>The identity of “%1” has changed</source>
        <translation>Die Identität von „%1“ hat sich geändert</translation>
    </message>
    <message>
        <source>The computer shows another key than the one it was known by. That is so after its agent was installed anew — or when another computer answers in its place. Compare the new fingerprint with the one that “corvalin-agent --print-fingerprint” shows there before you accept it.</source>
        <translation>Der Computer zeigt einen anderen Schlüssel als den, unter dem er bekannt war. Das kommt vor, wenn sein Agent neu installiert wurde – oder wenn ein anderer Computer an seiner Stelle antwortet. Vergleichen Sie den neuen Fingerabdruck mit dem, den „corvalin-agent --print-fingerprint“ dort anzeigt, bevor Sie ihn akzeptieren.</translation>
    </message>
    <message>
        <source>New identity of %1</source>
        <translation>Neue Identität von %1</translation>
    </message>
    <message>
        <source>Known fingerprint (SHA-256)</source>
        <translation>Bekannter Fingerabdruck (SHA-256)</translation>
    </message>
    <message>
        <source>New fingerprint (SHA-256)</source>
        <translation>Neuer Fingerabdruck (SHA-256)</translation>
    </message>
    <message>
        <source>I have compared the new fingerprint</source>
        <translation>Ich habe den neuen Fingerabdruck verglichen</translation>
    </message>
    <message>
        <source>Accept New Identity</source>
        <translation>Neue Identität akzeptieren</translation>
    </message>
</context>
<context>
    <name>LogWindow</name>
    <message>
        <source>Find in the log</source>
        <translation>Im Protokoll suchen</translation>
    </message>
    <message>
        <source>Not found</source>
        <translation>Nicht gefunden</translation>
    </message>
    <message>
        <source>Follow new lines</source>
        <translation>Neuen Zeilen folgen</translation>
    </message>
    <message>
        <source>Console Log</source>
        <translation>Konsolenprotokoll</translation>
    </message>
    <message>
        <source>Log</source>
        <translation>Protokoll</translation>
    </message>
    <message>
        <source>Find previous</source>
        <translation>Vorheriges suchen</translation>
    </message>
    <message>
        <source>Find next</source>
        <translation>Nächstes suchen</translation>
    </message>
</context>
<context>
    <name>MachineFacts</name>
    <message>
        <source>none</source>
        <translation>keine</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>unbekannt</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Ja</translation>
    </message>
    <message>
        <source>No</source>
        <translation>Nein</translation>
    </message>
    <message>
        <source>%1 byte</source>
        <translation>%1 Byte</translation>
    </message>
    <message>
        <source>%1 bytes</source>
        <translation>%1 Bytes</translation>
    </message>
    <message>
        <source>%1 value</source>
        <translation>%1 Wert</translation>
    </message>
    <message>
        <source>%1 values</source>
        <translation>%1 Werte</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Unable to save the settings</source>
        <translation>Die Einstellungen konnten nicht gespeichert werden</translation>
    </message>
    <message>
        <source>%1 could not be written. It is tried again until it works; what was changed is lost when Orlendo is quit before that.</source>
        <translation>%1 konnte nicht geschrieben werden. Es wird erneut versucht, bis es gelingt; die Änderungen gehen verloren, wenn Orlendo vorher beendet wird.</translation>
    </message>
    <message>
        <source>Software updates are not part of this version yet</source>
        <translation>Softwareupdates sind in dieser Version noch nicht enthalten</translation>
    </message>
    <message>
        <source>%1 update waits. Installing it is not part of this version yet</source>
        <translation>%1 Update steht aus. Die Installation ist in dieser Version noch nicht enthalten</translation>
    </message>
    <message>
        <source>%1 updates wait. Installing them is not part of this version yet</source>
        <translation>%1 Updates stehen aus. Die Installation ist in dieser Version noch nicht enthalten</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Administration console of the Corvalin suite
Version %1 (%2)</source>
        <translation>Administrationskonsole der Corvalin-Suite
Version %1 (%2)</translation>
    </message>
    <message>
        <source>Unable to check for updates</source>
        <translation>Es konnte nicht nach Updates gesucht werden</translation>
    </message>
    <message>
        <source>The console&apos;s log says why.</source>
        <translation>Der Grund steht im Protokoll der Konsole.</translation>
    </message>
    <message>
        <source>Corvalin Orlendo is outdated</source>
        <translation>Corvalin Orlendo ist veraltet</translation>
    </message>
    <message>
        <source>Search for Updates</source>
        <translation>Nach Updates suchen</translation>
    </message>
    <message>
        <source>Ignore</source>
        <translation>Ignorieren</translation>
    </message>
    <message>
        <source>The client software on %@ is expecting a more recent version of Orlendo. Continued use of an outdated version could cause stability issues.

Would you like to update Corvalin Orlendo now?</source>
        <translation>Die Client-Software auf %@ erwartet eine neuere Version von Orlendo. Die weitere Verwendung einer veralteten Version kann zu Stabilitätsproblemen führen.

Möchten Sie Corvalin Orlendo jetzt aktualisieren?</translation>
    </message>
    <message>
        <source>Add Computer</source>
        <translation>Computer hinzufügen</translation>
    </message>
    <message>
        <source>Add a computer by its address</source>
        <translation>Einen Computer über seine Adresse hinzufügen</translation>
    </message>
    <message>
        <source>Edit Computer…</source>
        <translation>Computer bearbeiten …</translation>
    </message>
    <message>
        <source>Change the name, the address or the port of a computer added by hand</source>
        <translation>Den Namen, die Adresse oder den Port eines von Hand hinzugefügten Computers ändern</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Read the visible tool&apos;s data from the selected computers again</source>
        <translation>Die Daten des sichtbaren Werkzeugs erneut von den ausgewählten Computern lesen</translation>
    </message>
    <message>
        <source>Software Update</source>
        <translation>Softwareupdate</translation>
    </message>
    <message>
        <source>Activity</source>
        <translation>Aktivitäten</translation>
    </message>
    <message>
        <source>Show what was done, and what became of it on each computer</source>
        <translation>Anzeigen, was ausgeführt wurde und mit welchem Ergebnis auf jedem Computer</translation>
    </message>
    <message>
        <source>Logs</source>
        <translation>Protokolle</translation>
    </message>
    <message>
        <source>Show the console&apos;s own log</source>
        <translation>Das eigene Protokoll der Konsole anzeigen</translation>
    </message>
    <message>
        <source>Error Log</source>
        <translation>Fehlerprotokoll</translation>
    </message>
    <message>
        <source>Show the errors of all computers</source>
        <translation>Die Fehler aller Computer anzeigen</translation>
    </message>
    <message>
        <source>Main Toolbar</source>
        <translation>Hauptsymbolleiste</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Add Computer…</source>
        <translation>Computer &amp;hinzufügen …</translation>
    </message>
    <message>
        <source>Add &amp;Demonstration Computer</source>
        <translation>&amp;Demo-Computer hinzufügen</translation>
    </message>
    <message>
        <source>Add a computer with sample data, to try the tools without a client agent</source>
        <translation>Einen Computer mit Beispieldaten hinzufügen, um die Werkzeuge ohne Client-Agenten auszuprobieren</translation>
    </message>
    <message>
        <source>&amp;Quit Orlendo</source>
        <translation>Orlendo &amp;beenden</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;Bearbeiten</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Kopieren</translation>
    </message>
    <message>
        <source>Select &amp;All Computers</source>
        <translation>&amp;Alle Computer auswählen</translation>
    </message>
    <message>
        <source>&amp;Find Computer</source>
        <translation>Computer &amp;suchen</translation>
    </message>
    <message>
        <source>&amp;Preferences…</source>
        <translation>&amp;Einstellungen …</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>For&amp;get Results</source>
        <translation>Ergebnisse &amp;vergessen</translation>
    </message>
    <message>
        <source>Empty all tools; what is being read is cancelled</source>
        <translation>Alle Werkzeuge leeren; laufende Lesevorgänge werden abgebrochen</translation>
    </message>
    <message>
        <source>&amp;Theme</source>
        <translation>&amp;Design</translation>
    </message>
    <message>
        <source>&amp;Computer</source>
        <translation>&amp;Computer</translation>
    </message>
    <message>
        <source>&amp;Go To</source>
        <translation>&amp;Gehe zu</translation>
    </message>
    <message>
        <source>Remove Stored &amp;Passwords…</source>
        <translation>Gespeicherte &amp;Passwörter entfernen …</translation>
    </message>
    <message>
        <source>&amp;Window</source>
        <translation>&amp;Fenster</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>As the &amp;System</source>
        <translation>Wie das &amp;System</translation>
    </message>
    <message>
        <source>&amp;Light</source>
        <translation>&amp;Hell</translation>
    </message>
    <message>
        <source>&amp;Dark</source>
        <translation>&amp;Dunkel</translation>
    </message>
    <message>
        <source>Unable to open the page</source>
        <translation>Die Seite kann nicht geöffnet werden</translation>
    </message>
    <message>
        <source>Orlendo &amp;Manual</source>
        <translation>Orlendo-&amp;Handbuch</translation>
    </message>
    <message>
        <source>&amp;Orlendo Home Page</source>
        <translation>&amp;Orlendo-Website</translation>
    </message>
    <message>
        <source>&amp;Corvalin Suite Home Page</source>
        <translation>&amp;Corvalin-Suite-Website</translation>
    </message>
    <message>
        <source>Maker&apos;s &amp;Home Page</source>
        <translation>&amp;Website des Herstellers</translation>
    </message>
    <message>
        <source>Make a &amp;Suggestion</source>
        <translation>&amp;Vorschlag machen</translation>
    </message>
    <message>
        <source>Report a &amp;Bug</source>
        <translation>&amp;Fehler melden</translation>
    </message>
    <message>
        <source>&amp;About Orlendo</source>
        <translation>Ü&amp;ber Orlendo</translation>
    </message>
</context>
<context>
    <name>ManualConnectionsView</name>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Edit…</source>
        <translation>Bearbeiten …</translation>
    </message>
    <message>
        <source>No manual connections</source>
        <translation>Keine manuellen Verbindungen</translation>
    </message>
    <message>
        <source>Add Computer enters one.</source>
        <translation>Mit „Computer hinzufügen“ tragen Sie eine ein.</translation>
    </message>
    <message>
        <source>Add Computer…</source>
        <translation>Computer hinzufügen …</translation>
    </message>
    <message>
        <source>End the connection and forget the address</source>
        <translation>Verbindung beenden und Adresse vergessen</translation>
    </message>
    <message>
        <source>Change the name, the address or the port</source>
        <translation>Name, Adresse oder Port ändern</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Address</source>
        <translation>Adresse</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>Manual connections</source>
        <translation>Manuelle Verbindungen</translation>
    </message>
    <message>
        <source>Not in the list</source>
        <translation>Nicht in der Liste</translation>
    </message>
    <message>
        <source>Connected</source>
        <translation>Verbunden</translation>
    </message>
    <message>
        <source>Connecting…</source>
        <translation>Verbindung wird hergestellt …</translation>
    </message>
    <message>
        <source>Not connected</source>
        <translation>Nicht verbunden</translation>
    </message>
</context>
<context>
    <name>MergedOutlineModel</name>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <source>Enabled</source>
        <translation>Aktiviert</translation>
    </message>
    <message>
        <source>Access</source>
        <translation>Zugriff</translation>
    </message>
    <message>
        <source>Versions differ</source>
        <translation>Versionen weichen ab</translation>
    </message>
    <message>
        <source>Enabled on %1 of %2</source>
        <translation>Auf %1 von %2 aktiviert</translation>
    </message>
    <message>
        <source>Enabled on some only</source>
        <translation>Nur auf einigen aktiviert</translation>
    </message>
    <message>
        <source>Access differs</source>
        <translation>Zugriff weicht ab</translation>
    </message>
    <message>
        <source>Several copies on one computer</source>
        <translation>Mehrere Kopien auf einem Computer</translation>
    </message>
    <message>
        <source>Not installed</source>
        <translation>Nicht installiert</translation>
    </message>
    <message>
        <source>Task</source>
        <translation>Aufgabe</translation>
    </message>
    <message>
        <source>Schedule</source>
        <translation>Zeitplan</translation>
    </message>
    <message>
        <source>Tool</source>
        <translation>Werkzeug</translation>
    </message>
    <message>
        <source>Runs As</source>
        <translation>Läuft als</translation>
    </message>
    <message>
        <source>Schedules differ</source>
        <translation>Zeitpläne weichen ab</translation>
    </message>
    <message>
        <source>Not scheduled</source>
        <translation>Nicht geplant</translation>
    </message>
    <message>
        <source>Computers</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>Missing on %1</source>
        <translation>Fehlt auf %1</translation>
    </message>
    <message>
        <source>Missing on %1: %2</source>
        <translation>Fehlt auf %1: %2</translation>
    </message>
    <message>
        <source>Duplicated on %1</source>
        <translation>Mehrfach auf %1</translation>
    </message>
    <message>
        <source>Duplicated on %1: %2</source>
        <translation>Mehrfach auf %1: %2</translation>
    </message>
    <message>
        <source>The same on 1 computer</source>
        <translation>Identisch auf 1 Computer</translation>
    </message>
    <message>
        <source>The same on %1 computers</source>
        <translation>Identisch auf %1 Computern</translation>
    </message>
    <message>
        <source>No differences</source>
        <translation>Keine Unterschiede</translation>
    </message>
    <message>
        <source>No answer</source>
        <translation>Keine Antwort</translation>
    </message>
    <message>
        <source>Mixed</source>
        <translation>Gemischt</translation>
    </message>
</context>
<context>
    <name>MergedOutlineView</name>
    <message>
        <source>Synchronise</source>
        <translation>Synchronisieren</translation>
    </message>
    <message>
        <source>Synchronise %1</source>
        <translation>%1 synchronisieren</translation>
    </message>
    <message>
        <source>%1 is there more than once on a computer. All of them become alike there and do the same at the same time; remove what is too much first.</source>
        <translation>%1 ist auf einem Computer mehrfach vorhanden. Dort werden alle Exemplare gleich und tun zur selben Zeit dasselbe; entfernen Sie zuerst die überzähligen.</translation>
    </message>
    <message>
        <source>%1 are there more than once on a computer. All of them become alike there and do the same at the same time; remove what is too much first.</source>
        <translation>%1 sind auf einem Computer mehrfach vorhanden. Dort werden alle Exemplare gleich und tun zur selben Zeit dasselbe; entfernen Sie zuerst die überzähligen.</translation>
    </message>
    <message>
        <source>Synchronise %1?</source>
        <translation>%1 synchronisieren?</translation>
    </message>
    <message>
        <source>%1 with differences</source>
        <translation>%1 mit Unterschieden</translation>
    </message>
    <message>
        <source>no differences</source>
        <translation>keine Unterschiede</translation>
    </message>
    <message>
        <source>%1 more than once on a computer</source>
        <translation>%1 mehrfach auf einem Computer</translation>
    </message>
</context>
<context>
    <name>NewTaskSheet</name>
    <message>
        <source>Monday</source>
        <translation>Montag</translation>
    </message>
    <message>
        <source>Tuesday</source>
        <translation>Dienstag</translation>
    </message>
    <message>
        <source>Wednesday</source>
        <translation>Mittwoch</translation>
    </message>
    <message>
        <source>Thursday</source>
        <translation>Donnerstag</translation>
    </message>
    <message>
        <source>Friday</source>
        <translation>Freitag</translation>
    </message>
    <message>
        <source>Saturday</source>
        <translation>Samstag</translation>
    </message>
    <message>
        <source>Sunday</source>
        <translation>Sonntag</translation>
    </message>
    <message>
        <source>January</source>
        <translation>Januar</translation>
    </message>
    <message>
        <source>February</source>
        <translation>Februar</translation>
    </message>
    <message>
        <source>March</source>
        <translation>März</translation>
    </message>
    <message>
        <source>April</source>
        <translation>April</translation>
    </message>
    <message>
        <source>May</source>
        <translation>Mai</translation>
    </message>
    <message>
        <source>June</source>
        <translation>Juni</translation>
    </message>
    <message>
        <source>July</source>
        <translation>Juli</translation>
    </message>
    <message>
        <source>August</source>
        <translation>August</translation>
    </message>
    <message>
        <source>September</source>
        <translation>September</translation>
    </message>
    <message>
        <source>October</source>
        <translation>Oktober</translation>
    </message>
    <message>
        <source>November</source>
        <translation>November</translation>
    </message>
    <message>
        <source>December</source>
        <translation>Dezember</translation>
    </message>
    <message>
        <source>Add Task</source>
        <translation>Aufgabe hinzufügen</translation>
    </message>
    <message>
        <source>The task is scheduled on all selected computers that have the tool.</source>
        <translation>Die Aufgabe wird auf allen ausgewählten Computern geplant, die über das Werkzeug verfügen.</translation>
    </message>
    <message>
        <source>Run as administrator (root)</source>
        <translation>Als Administrator (root) ausführen</translation>
    </message>
    <message>
        <source>Tool</source>
        <translation>Werkzeug</translation>
    </message>
    <message>
        <source>Task</source>
        <translation>Aufgabe</translation>
    </message>
    <message>
        <source>At specific interval</source>
        <translation>Zu bestimmten Zeiten</translation>
    </message>
    <message>
        <source>Every x seconds</source>
        <translation>Alle x Sekunden</translation>
    </message>
    <message>
        <source>Whenever a directory changes</source>
        <translation>Bei jeder Änderung eines Verzeichnisses</translation>
    </message>
    <message>
        <source>Schedule</source>
        <translation>Zeitplan</translation>
    </message>
    <message>
        <source>Any</source>
        <translation>Beliebig</translation>
    </message>
    <message>
        <source>Minute</source>
        <translation>Minute</translation>
    </message>
    <message>
        <source>Hour</source>
        <translation>Stunde</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>Tag</translation>
    </message>
    <message>
        <source>Weekday</source>
        <translation>Wochentag</translation>
    </message>
    <message>
        <source>Month</source>
        <translation>Monat</translation>
    </message>
    <message>
        <source>Seconds</source>
        <translation>Sekunden</translation>
    </message>
    <message>
        <source>Directory</source>
        <translation>Verzeichnis</translation>
    </message>
    <message>
        <source>The path as it is on the selected computers</source>
        <translation>Der Pfad, wie er auf den ausgewählten Computern lautet</translation>
    </message>
    <message>
        <source>Takes an administrator&apos;s name and password of each computer</source>
        <translation>Erfordert für jeden Computer Name und Passwort eines Administrators</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <source>Choose either a day of the month or a weekday.</source>
        <translation>Wählen Sie entweder einen Tag des Monats oder einen Wochentag.</translation>
    </message>
    <message>
        <source>Add Anyway</source>
        <translation>Trotzdem hinzufügen</translation>
    </message>
    <message>
        <source>%1 has this task already, and would run it by both schedules.</source>
        <translation>%1 hat diese Aufgabe bereits und würde sie nach beiden Zeitplänen ausführen.</translation>
    </message>
    <message>
        <source>%1 have this task already, and would run it by both schedules.</source>
        <translation>%1 haben diese Aufgabe bereits und würden sie nach beiden Zeitplänen ausführen.</translation>
    </message>
    <message>
        <source>No answer from %1: nothing is added there.</source>
        <translation>Keine Antwort von %1: Dort wird nichts hinzugefügt.</translation>
    </message>
    <message>
        <source>Reading the tools of the selected computers…</source>
        <translation>Werkzeuge der ausgewählten Computer werden gelesen …</translation>
    </message>
    <message>
        <source>No tool on the selected computers has tasks to schedule.</source>
        <translation>Kein Werkzeug auf den ausgewählten Computern hat Aufgaben, die sich planen lassen.</translation>
    </message>
    <message>
        <source>Not available on %1.</source>
        <translation>Nicht verfügbar auf %1.</translation>
    </message>
    <message>
        <source>All selected computers have this tool.</source>
        <translation>Alle ausgewählten Computer verfügen über dieses Werkzeug.</translation>
    </message>
    <message>
        <source>All computers that answered have this tool.</source>
        <translation>Alle Computer, die geantwortet haben, verfügen über dieses Werkzeug.</translation>
    </message>
</context>
<context>
    <name>Outcome</name>
    <message>
        <source>left alone</source>
        <translation>unverändert gelassen</translation>
    </message>
    <message>
        <source>answered</source>
        <translation>geantwortet</translation>
    </message>
    <message>
        <source>done</source>
        <translation>erledigt</translation>
    </message>
    <message>
        <source>left out</source>
        <translation>ausgelassen</translation>
    </message>
    <message>
        <source>skipped</source>
        <translation>übersprungen</translation>
    </message>
    <message>
        <source>cancelled</source>
        <translation>abgebrochen</translation>
    </message>
    <message>
        <source>not connected</source>
        <translation>nicht verbunden</translation>
    </message>
    <message>
        <source>no answer</source>
        <translation>ohne Antwort</translation>
    </message>
    <message>
        <source>refused</source>
        <translation>abgelehnt</translation>
    </message>
    <message>
        <source>failed</source>
        <translation>fehlgeschlagen</translation>
    </message>
</context>
<context>
    <name>OutcomeCounts</name>
    <message>
        <source>%1 on %2 of %3 computer</source>
        <translation>%1 auf %2 von %3 Computer</translation>
    </message>
    <message>
        <source>%1 on %2 of %3 computers</source>
        <translation>%1 auf %2 von %3 Computern</translation>
    </message>
    <message>
        <source>%1 on %2 computer</source>
        <translation>%1 auf %2 Computer</translation>
    </message>
    <message>
        <source>%1 on %2 computers</source>
        <translation>%1 auf %2 Computern</translation>
    </message>
</context>
<context>
    <name>PaneBar</name>
    <message>
        <source>More</source>
        <translation>Mehr</translation>
    </message>
    <message>
        <source>What has no room beside</source>
        <translation>Was daneben keinen Platz hat</translation>
    </message>
</context>
<context>
    <name>PaneParts</name>
    <message>
        <source>Expand All</source>
        <translation>Alle ausklappen</translation>
    </message>
    <message>
        <source>Collapse All</source>
        <translation>Alle einklappen</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
</context>
<context>
    <name>PortTest</name>
    <message>
        <source>%1, port %2</source>
        <translation>%1, Port %2</translation>
    </message>
    <message>
        <source>%1 is closed: the computer answers, but no program takes connections there.</source>
        <translation>%1 ist geschlossen: Der Computer antwortet, aber kein Programm nimmt dort Verbindungen an.</translation>
    </message>
    <message>
        <source>%1 cannot be reached: the network knows no way there.</source>
        <translation>%1 ist nicht erreichbar: Das Netzwerk kennt keinen Weg dorthin.</translation>
    </message>
    <message>
        <source>%1 does not answer: nothing came back in time.</source>
        <translation>%1 antwortet nicht: Es kam nicht rechtzeitig etwas zurück.</translation>
    </message>
    <message>
        <source>%1: the name leads to no address.</source>
        <translation>%1: Der Name führt zu keiner Adresse.</translation>
    </message>
    <message>
        <source>An address or port of the computer is not valid.</source>
        <translation>Eine Adresse oder ein Port des Computers ist ungültig.</translation>
    </message>
    <message>
        <source>%1, port %2 is open: it took the connection after %3 ms.</source>
        <translation>%1, Port %2 ist offen: Die Verbindung wurde nach %3 ms angenommen.</translation>
    </message>
    <message>
        <source>This computer has too much to do to try it.</source>
        <translation>Dieser Computer ist zu stark ausgelastet, um es zu versuchen.</translation>
    </message>
</context>
<context>
    <name>PreferenceModel</name>
    <message>
        <source>Found by each computer&apos;s agent</source>
        <translation>Vom Agenten des jeweiligen Computers ermittelt</translation>
    </message>
    <message>
        <source>%1 and %2 more</source>
        <translation>%1 und %2 weitere</translation>
    </message>
    <message>
        <source>On %1</source>
        <translation>Auf %1</translation>
    </message>
    <message>
        <source>Partly, on %1</source>
        <translation>Teilweise, auf %1</translation>
    </message>
    <message>
        <source>On %1 computers</source>
        <translation>Auf %1 Computern</translation>
    </message>
    <message>
        <source>Partly, on %1 computers</source>
        <translation>Teilweise, auf %1 Computern</translation>
    </message>
    <message>
        <source>Locked on:</source>
        <translation>Gesperrt auf:</translation>
    </message>
    <message>
        <source>Locked</source>
        <translation>Gesperrt</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Dateien</translation>
    </message>
</context>
<context>
    <name>PreferenceTree</name>
    <message>
        <source>Preferences</source>
        <translation>Voreinstellungen</translation>
    </message>
    <message>
        <source>Boris Plugin Preferences</source>
        <translation>Boris-Plug-in-Einstellungen</translation>
    </message>
    <message>
        <source>Button Bars</source>
        <translation>Tastenleisten</translation>
    </message>
    <message>
        <source>Keyboard Layouts</source>
        <translation>Tastaturlayouts</translation>
    </message>
    <message>
        <source>Window Layouts</source>
        <translation>Fensterlayouts</translation>
    </message>
    <message>
        <source>Column Layouts</source>
        <translation>Spaltenlayouts</translation>
    </message>
    <message>
        <source>Track Layouts</source>
        <translation>Spurlayouts</translation>
    </message>
    <message>
        <source>Custom Settings</source>
        <translation>Eigene Einstellungen</translation>
    </message>
    <message>
        <source>User Plugins</source>
        <translation>Benutzer-Plug-ins</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Destinations</source>
        <translation>Zielorte</translation>
    </message>
</context>
<context>
    <name>PreferencesWindow</name>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>Security</source>
        <translation>Sicherheit</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>Netzwerk</translation>
    </message>
    <message>
        <source>Runs</source>
        <translation>Läufe</translation>
    </message>
    <message>
        <source>Check for newer versions at start</source>
        <translation>Beim Start nach neueren Versionen suchen</translation>
    </message>
    <message>
        <source>Orlendo looks for a newer version of itself each time it starts.</source>
        <translation>Orlendo sucht bei jedem Start nach einer neueren Version seiner selbst.</translation>
    </message>
    <message>
        <source>Refresh the visible tool automatically</source>
        <translation>Sichtbares Werkzeug automatisch aktualisieren</translation>
    </message>
    <message>
        <source>Tools whose data changes by itself are read again every 30 seconds to 5 minutes while Orlendo is in front.</source>
        <translation>Werkzeuge, deren Daten sich von selbst ändern, werden alle 30 Sekunden bis 5 Minuten neu gelesen, solange Orlendo im Vordergrund ist.</translation>
    </message>
    <message>
        <source>Show the welcome at the next start</source>
        <translation>Begrüßung beim nächsten Start anzeigen</translation>
    </message>
    <message>
        <source>It explains how the window is used, and is shown once.</source>
        <translation>Sie erklärt die Bedienung des Fensters und wird einmal angezeigt.</translation>
    </message>
    <message>
        <source>&amp;Theme:</source>
        <translation>&amp;Design:</translation>
    </message>
    <message>
        <source>As the System</source>
        <translation>Wie das System</translation>
    </message>
    <message>
        <source>Light</source>
        <translation>Hell</translation>
    </message>
    <message>
        <source>Dark</source>
        <translation>Dunkel</translation>
    </message>
    <message>
        <source>Require an administrator&apos;s password at start</source>
        <translation>Beim Start das Passwort eines Administrators verlangen</translation>
    </message>
    <message>
        <source>Whoever opens Orlendo must prove to be an administrator of this computer first.</source>
        <translation>Wer Orlendo öffnet, muss sich zuerst als Administrator dieses Computers ausweisen.</translation>
    </message>
    <message>
        <source>Store client passwords in the keyring</source>
        <translation>Client-Passwörter im Schlüsselbund speichern</translation>
    </message>
    <message>
        <source>An administrator&apos;s password that was entered for a computer is offered again the next time. Otherwise it is forgotten when Orlendo quits.</source>
        <translation>Ein für einen Computer eingegebenes Administratorpasswort wird beim nächsten Mal wieder angeboten. Andernfalls wird es vergessen, wenn Orlendo beendet wird.</translation>
    </message>
    <message>
        <source>Computers on the local network are found by themselves. These were added by their address and are connected to at every start.</source>
        <translation>Computer im lokalen Netzwerk werden automatisch gefunden. Diese hier wurden über ihre Adresse hinzugefügt und werden bei jedem Start verbunden.</translation>
    </message>
    <message>
        <source>&amp;Computers worked at once:</source>
        <translation>Gleichzeitig bearbeitete &amp;Computer:</translation>
    </message>
    <message>
        <source>More get a large fleet done sooner and load the network more. Holds from the next run on.</source>
        <translation>Mit mehr wird ein großer Bestand schneller fertig, das Netzwerk aber stärker belastet. Gilt ab dem nächsten Lauf.</translation>
    </message>
    <message>
        <source>Work the computers that are left over</source>
        <translation>Übrig gebliebene Computer bearbeiten</translation>
    </message>
    <message>
        <source>A run divides the selected computers evenly among this machine&apos;s processors. Those that are left over follow by themselves; otherwise you are told which they are.</source>
        <translation>Ein Lauf verteilt die ausgewählten Computer gleichmäßig auf die Prozessoren dieses Rechners. Die übrig gebliebenen folgen von selbst; andernfalls wird Ihnen mitgeteilt, welche es sind.</translation>
    </message>
    <message>
        <source>Keep &amp;Activity for:</source>
        <translation>&amp;Aktivität aufbewahren für:</translation>
    </message>
    <message>
        <source> day</source>
        <translation> Tag</translation>
    </message>
    <message>
        <source> days</source>
        <translation> Tage</translation>
    </message>
    <message>
        <source>Use at &amp;most:</source>
        <translation>&amp;Höchstens belegen:</translation>
    </message>
    <message>
        <source> MB</source>
        <translation> MB</translation>
    </message>
    <message>
        <source>What is older goes first.</source>
        <translation>Älteres wird zuerst entfernt.</translation>
    </message>
    <message>
        <source>Orlendo would not start any more</source>
        <translation>Orlendo würde nicht mehr starten</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Turn On Anyway</source>
        <translation>Trotzdem einschalten</translation>
    </message>
    <message>
        <source>This version cannot ask for an administrator&apos;s password, and without the password it does not open. To undo this later, the entry “requireAdminPassword” has to be taken out of the settings file by hand:

%1</source>
        <translation>Diese Version kann nicht nach dem Passwort eines Administrators fragen, und ohne das Passwort öffnet sie sich nicht. Um dies später rückgängig zu machen, muss der Eintrag „requireAdminPassword“ von Hand aus der Einstellungsdatei entfernt werden:

%1</translation>
    </message>
</context>
<context>
    <name>ProblemTexts</name>
    <message>
        <source>Choose Retry. The console also tries again by itself every few seconds.</source>
        <translation>Wählen Sie „Erneut versuchen“. Die Konsole versucht es außerdem alle paar Sekunden von selbst.</translation>
    </message>
    <message>
        <source>No agent on this port</source>
        <translation>Kein Agent an diesem Port</translation>
    </message>
    <message>
        <source>“{name}” can be reached at {address}, but nothing there takes connections on port {port}. Its client agent is not running, or it uses another port.</source>
        <translation>„{name}“ ist unter {address} erreichbar, aber dort nimmt nichts Verbindungen an Port {port} an. Der Client-Agent läuft nicht oder verwendet einen anderen Port.</translation>
    </message>
    <message>
        <source>Start the client agent on “{name}”; it is a service that can be started like this:|systemctl start corvalin-agent</source>
        <translation>Starten Sie den Client-Agenten auf „{name}“; er ist ein Dienst, der sich so starten lässt:|systemctl start corvalin-agent</translation>
    </message>
    <message>
        <source>If its agent uses another port, take the computer off the list and add it again with that port.</source>
        <translation>Wenn der Agent einen anderen Port verwendet, entfernen Sie den Computer aus der Liste und fügen Sie ihn mit diesem Port wieder hinzu.</translation>
    </message>
    <message>
        <source>See that no firewall on the computer turns connections to TCP port {port} down.</source>
        <translation>Stellen Sie sicher, dass keine Firewall auf dem Computer Verbindungen zum TCP-Port {port} abweist.</translation>
    </message>
    <message>
        <source>No way to the computer</source>
        <translation>Kein Weg zum Computer</translation>
    </message>
    <message>
        <source>The network knows no way to {address}. Either machine is off the network, or the two are in networks that are not joined.</source>
        <translation>Das Netzwerk kennt keinen Weg zu {address}. Entweder ist einer der beiden Rechner nicht im Netzwerk, oder die beiden befinden sich in Netzwerken, die nicht miteinander verbunden sind.</translation>
    </message>
    <message>
        <source>Check the network connection of this machine and of “{name}”.</source>
        <translation>Prüfen Sie die Netzwerkverbindung dieses Rechners und die von „{name}“.</translation>
    </message>
    <message>
        <source>See that {address} is still the address of “{name}”; it may have been given another one.</source>
        <translation>Prüfen Sie, ob {address} noch die Adresse von „{name}“ ist; möglicherweise wurde dem Computer eine andere zugewiesen.</translation>
    </message>
    <message>
        <source>If the computer is in another network, join the networks (a router, a VPN) first.</source>
        <translation>Wenn sich der Computer in einem anderen Netzwerk befindet, verbinden Sie zuerst die Netzwerke (über einen Router oder ein VPN).</translation>
    </message>
    <message>
        <source>No answer</source>
        <translation>Keine Antwort</translation>
    </message>
    <message>
        <source>Nothing came back from “{name}” in time. It is switched off or asleep, the address {address} is not its own any more, or a firewall swallows what is sent to port {port}.</source>
        <translation>Von „{name}“ kam nicht rechtzeitig etwas zurück. Der Computer ist ausgeschaltet oder im Ruhezustand, die Adresse {address} gehört ihm nicht mehr, oder eine Firewall verwirft, was an Port {port} gesendet wird.</translation>
    </message>
    <message>
        <source>Wake “{name}” up, or switch it on.</source>
        <translation>Wecken Sie „{name}“ auf oder schalten Sie den Computer ein.</translation>
    </message>
    <message>
        <source>See that {address} is still its address.</source>
        <translation>Prüfen Sie, ob {address} noch die richtige Adresse ist.</translation>
    </message>
    <message>
        <source>Let the firewalls between the two machines pass TCP port {port}.</source>
        <translation>Lassen Sie den TCP-Port {port} in den Firewalls zwischen den beiden Rechnern zu.</translation>
    </message>
    <message>
        <source>Choose Test Port to see whether it is the port or the whole computer that does not answer.</source>
        <translation>Wählen Sie „Port testen“, um festzustellen, ob nur der Port oder der ganze Computer nicht antwortet.</translation>
    </message>
    <message>
        <source>Name not found</source>
        <translation>Name nicht gefunden</translation>
    </message>
    <message>
        <source>The name by which “{name}” is looked for leads to no address.</source>
        <translation>Der Name, unter dem „{name}“ gesucht wird, führt zu keiner Adresse.</translation>
    </message>
    <message>
        <source>See that the computer is switched on and announces itself, or that the name server knows it.</source>
        <translation>Stellen Sie sicher, dass der Computer eingeschaltet ist und sich im Netzwerk ankündigt oder dass der Namensserver ihn kennt.</translation>
    </message>
    <message>
        <source>If it has a fixed address, add it by that: choose Add Computer.</source>
        <translation>Wenn der Computer eine feste Adresse hat, fügen Sie ihn über diese hinzu: Wählen Sie „Computer hinzufügen“.</translation>
    </message>
    <message>
        <source>No usable address</source>
        <translation>Keine brauchbare Adresse</translation>
    </message>
    <message>
        <source>“{name}” is listed with an address or a port that cannot be right: {address}, port {port}.</source>
        <translation>„{name}“ ist mit einer Adresse oder einem Port eingetragen, die nicht stimmen können: {address}, Port {port}.</translation>
    </message>
    <message>
        <source>Take it off the list and add it again with its IPv4 address and the port of its agent.</source>
        <translation>Entfernen Sie den Computer aus der Liste und fügen Sie ihn mit seiner IPv4-Adresse und dem Port seines Agenten wieder hinzu.</translation>
    </message>
    <message>
        <source>If it was found on the network, restart its client agent, so that it announces itself anew.</source>
        <translation>Wenn er im Netzwerk gefunden wurde, starten Sie seinen Client-Agenten neu, damit er sich erneut ankündigt.</translation>
    </message>
    <message>
        <source>This console is not authorized</source>
        <translation>Diese Konsole ist nicht autorisiert</translation>
    </message>
    <message>
        <source>A client agent serves only consoles that were made known to it. This console&apos;s certificate is not among those that “{name}” was given.</source>
        <translation>Ein Client-Agent bedient nur Konsolen, die ihm bekannt gemacht wurden. Das Zertifikat dieser Konsole gehört nicht zu denen, die „{name}“ erhalten hat.</translation>
    </message>
    <message>
        <source>On this machine, write the console&apos;s certificate to a file:|orlendo --export-certificate console.crt</source>
        <translation>Schreiben Sie auf diesem Rechner das Zertifikat der Konsole in eine Datei:|orlendo --export-certificate console.crt</translation>
    </message>
    <message>
        <source>Copy the file to “{name}”, into the folder of authorized consoles:|cp console.crt /var/lib/corvalin-agent/authorized/</source>
        <translation>Kopieren Sie die Datei auf „{name}“ in den Ordner der autorisierten Konsolen:|cp console.crt /var/lib/corvalin-agent/authorized/</translation>
    </message>
    <message>
        <source>Or, where the agent is started by hand, start it anew with that file:|corvalin-agent --authorize console.crt</source>
        <translation>Oder starten Sie den Agenten, falls er von Hand gestartet wird, mit dieser Datei neu:|corvalin-agent --authorize console.crt</translation>
    </message>
    <message>
        <source>Choose Retry.</source>
        <translation>Wählen Sie „Erneut versuchen“.</translation>
    </message>
    <message>
        <source>Identity has changed</source>
        <translation>Identität hat sich geändert</translation>
    </message>
    <message>
        <source>“{name}” shows another key than the one it was known by. That is so after its agent was installed anew — or when another computer answers in its place. Nothing is sent to it until the new key has been accepted.</source>
        <translation>„{name}“ weist einen anderen Schlüssel vor als den bisher bekannten. Das ist so, nachdem der Agent neu installiert wurde – oder wenn ein anderer Computer an seiner Stelle antwortet. Es wird nichts an ihn gesendet, bis der neue Schlüssel akzeptiert wurde.</translation>
    </message>
    <message>
        <source>Find out whether the agent was installed anew, or the computer replaced.</source>
        <translation>Finden Sie heraus, ob der Agent neu installiert oder der Computer ausgetauscht wurde.</translation>
    </message>
    <message>
        <source>Have the fingerprint of its key shown on “{name}” itself:|corvalin-agent --print-fingerprint</source>
        <translation>Lassen Sie sich den Fingerabdruck des Schlüssels auf „{name}“ selbst anzeigen:|corvalin-agent --print-fingerprint</translation>
    </message>
    <message>
        <source>Choose Review New Identity and compare the two. Accept only when they are the same.</source>
        <translation>Wählen Sie „Neue Identität prüfen“ und vergleichen Sie die beiden. Akzeptieren Sie nur, wenn sie übereinstimmen.</translation>
    </message>
    <message>
        <source>Stored key is unreadable</source>
        <translation>Gespeicherter Schlüssel ist nicht lesbar</translation>
    </message>
    <message>
        <source>The key by which this console knows “{name}” is in a file that cannot be read, so it cannot tell whether the right computer answers. Nothing is sent to it.</source>
        <translation>Der Schlüssel, an dem diese Konsole „{name}“ erkennt, steht in einer Datei, die nicht gelesen werden kann. Daher lässt sich nicht feststellen, ob der richtige Computer antwortet. Es wird nichts an ihn gesendet.</translation>
    </message>
    <message>
        <source>The file is named below. See that you may read it and that its disk is there, or bring it back from a backup.</source>
        <translation>Die Datei ist unten angegeben. Stellen Sie sicher, dass Sie sie lesen dürfen und dass ihr Datenträger vorhanden ist, oder stellen Sie sie aus einer Sicherung wieder her.</translation>
    </message>
    <message>
        <source>If it is damaged, remove it: the console then takes the key that “{name}” shows next. Compare its fingerprint with the one on “{name}” itself:|corvalin-agent --print-fingerprint</source>
        <translation>Wenn sie beschädigt ist, entfernen Sie sie: Die Konsole übernimmt dann den Schlüssel, den „{name}“ als Nächstes vorweist. Vergleichen Sie dessen Fingerabdruck mit dem auf „{name}“ selbst:|corvalin-agent --print-fingerprint</translation>
    </message>
    <message>
        <source>Not a client agent</source>
        <translation>Kein Client-Agent</translation>
    </message>
    <message>
        <source>Something answers at {address}, port {port}, but it is no client agent: the port belongs to another program, or the address to another machine.</source>
        <translation>Unter {address}, Port {port} antwortet etwas, aber es ist kein Client-Agent: Der Port gehört zu einem anderen Programm oder die Adresse zu einem anderen Rechner.</translation>
    </message>
    <message>
        <source>See which port the agent on “{name}” uses (5473 unless it was changed).</source>
        <translation>Prüfen Sie, welchen Port der Agent auf „{name}“ verwendet (5473, sofern nicht geändert).</translation>
    </message>
    <message>
        <source>See that {address} is the address of “{name}”.</source>
        <translation>Prüfen Sie, ob {address} die Adresse von „{name}“ ist.</translation>
    </message>
    <message>
        <source>Take the computer off the list and add it again with the right address and port.</source>
        <translation>Entfernen Sie den Computer aus der Liste und fügen Sie ihn mit der richtigen Adresse und dem richtigen Port wieder hinzu.</translation>
    </message>
    <message>
        <source>Connection closed at once</source>
        <translation>Verbindung sofort geschlossen</translation>
    </message>
    <message>
        <source>“{name}” takes the connection and closes it before it has said anything. Its agent is just starting or ending, it has too many connections, or another program uses the port.</source>
        <translation>„{name}“ nimmt die Verbindung an und schließt sie, bevor etwas gesendet wurde. Der Agent startet oder beendet sich gerade, er hat zu viele Verbindungen, oder ein anderes Programm verwendet den Port.</translation>
    </message>
    <message>
        <source>Wait a moment, then choose Retry.</source>
        <translation>Warten Sie einen Moment und wählen Sie dann „Erneut versuchen“.</translation>
    </message>
    <message>
        <source>Restart the client agent on “{name}”.</source>
        <translation>Starten Sie den Client-Agenten auf „{name}“ neu.</translation>
    </message>
    <message>
        <source>Look into the agent&apos;s log there for the reason.|journalctl -u corvalin-agent</source>
        <translation>Suchen Sie dort im Protokoll des Agenten nach der Ursache.|journalctl -u corvalin-agent</translation>
    </message>
    <message>
        <source>Answers cannot be read</source>
        <translation>Antworten sind nicht lesbar</translation>
    </message>
    <message>
        <source>What “{name}” sends cannot be understood, so the connection was ended. Its agent may be of quite another version, or damaged.</source>
        <translation>Was „{name}“ sendet, ist nicht verständlich; deshalb wurde die Verbindung beendet. Möglicherweise hat der Agent eine ganz andere Version oder ist beschädigt.</translation>
    </message>
    <message>
        <source>Install the current version of the Corvalin suite on “{name}”.</source>
        <translation>Installieren Sie die aktuelle Version der Corvalin-Suite auf „{name}“.</translation>
    </message>
    <message>
        <source>See that the agent and nothing else uses port {port} there.</source>
        <translation>Stellen Sie sicher, dass dort nur der Agent den Port {port} verwendet.</translation>
    </message>
    <message>
        <source>Show the log: it says what could not be read.</source>
        <translation>Zeigen Sie das Protokoll an: Darin steht, was nicht gelesen werden konnte.</translation>
    </message>
    <message>
        <source>No sign of life</source>
        <translation>Kein Lebenszeichen</translation>
    </message>
    <message>
        <source>“{name}” was connected, then nothing more came from it. It was switched off or fell asleep, its network connection broke, or it is too busy to answer.</source>
        <translation>„{name}“ war verbunden, dann kam nichts mehr. Der Computer wurde ausgeschaltet oder ist in den Ruhezustand gegangen, seine Netzwerkverbindung ist abgebrochen, oder er ist zu beschäftigt, um zu antworten.</translation>
    </message>
    <message>
        <source>See that “{name}” is on, awake and on the network.</source>
        <translation>Stellen Sie sicher, dass „{name}“ eingeschaltet, wach und im Netzwerk ist.</translation>
    </message>
    <message>
        <source>If it is busy, wait until it has time again.</source>
        <translation>Wenn der Computer beschäftigt ist, warten Sie, bis er wieder Zeit hat.</translation>
    </message>
    <message>
        <source>Connection lost</source>
        <translation>Verbindung verloren</translation>
    </message>
    <message>
        <source>The connection to “{name}” stood and was then closed from there: its agent was ended or restarted, or the computer was shut down.</source>
        <translation>Die Verbindung zu „{name}“ bestand und wurde dann von dort geschlossen: Der Agent wurde beendet oder neu gestartet, oder der Computer wurde heruntergefahren.</translation>
    </message>
    <message>
        <source>If the computer is just restarting, wait: it is connected again as soon as its agent runs.</source>
        <translation>Wenn der Computer gerade neu startet, warten Sie: Er wird wieder verbunden, sobald sein Agent läuft.</translation>
    </message>
    <message>
        <source>Start the client agent on “{name}”.</source>
        <translation>Starten Sie den Client-Agenten auf „{name}“.</translation>
    </message>
    <message>
        <source>Not on the network any more</source>
        <translation>Nicht mehr im Netzwerk</translation>
    </message>
    <message>
        <source>“{name}” was neither added by hand nor does it announce itself, so there is nothing to connect to. The console does not try again by itself.</source>
        <translation>„{name}“ wurde weder von Hand hinzugefügt, noch kündigt sich der Computer im Netzwerk an; es gibt also nichts, womit eine Verbindung hergestellt werden könnte. Die Konsole versucht es nicht von selbst erneut.</translation>
    </message>
    <message>
        <source>Start “{name}” and its client agent: it then appears in the list by itself.</source>
        <translation>Starten Sie „{name}“ und den zugehörigen Client-Agenten: Der Computer erscheint dann von selbst in der Liste.</translation>
    </message>
    <message>
        <source>If it is in a network that announcements do not reach, add it by its address: choose Add Computer.</source>
        <translation>Wenn er sich in einem Netzwerk befindet, das von Ankündigungen nicht erreicht wird, fügen Sie ihn über seine Adresse hinzu: Wählen Sie „Computer hinzufügen“.</translation>
    </message>
    <message>
        <source>Agent not installed properly</source>
        <translation>Agent nicht richtig installiert</translation>
    </message>
    <message>
        <source>The agent of “{name}” answers, but not what this console asks it for. The suite there is incomplete, damaged or far too old.</source>
        <translation>Der Agent von „{name}“ antwortet, aber nicht auf das, wonach diese Konsole fragt. Die Suite dort ist unvollständig, beschädigt oder viel zu alt.</translation>
    </message>
    <message>
        <source>Install a recent version of the Corvalin suite on “{name}”.</source>
        <translation>Installieren Sie eine neuere Version der Corvalin-Suite auf „{name}“.</translation>
    </message>
    <message>
        <source>Restart its client agent, then choose Retry.</source>
        <translation>Starten Sie den Client-Agenten des Computers neu und wählen Sie dann „Erneut versuchen“.</translation>
    </message>
    <message>
        <source>Show the log: it says what the agent answered.</source>
        <translation>Zeigen Sie das Protokoll an: Darin steht, was der Agent geantwortet hat.</translation>
    </message>
    <message>
        <source>Client agent too old</source>
        <translation>Client-Agent zu alt</translation>
    </message>
    <message>
        <source>“{name}” is connected, but its client agent is older than this console works with. Most tools leave the computer out.</source>
        <translation>„{name}“ ist verbunden, aber der Client-Agent ist älter, als diese Konsole es voraussetzt. Die meisten Werkzeuge lassen den Computer aus.</translation>
    </message>
    <message>
        <source>Install a more recent version of the client agent on “{name}”.</source>
        <translation>Installieren Sie eine neuere Version des Client-Agenten auf „{name}“.</translation>
    </message>
    <message>
        <source>Restart the agent, then choose Retry.</source>
        <translation>Starten Sie den Agenten neu und wählen Sie dann „Erneut versuchen“.</translation>
    </message>
    <message>
        <source>Suite too old</source>
        <translation>Suite zu alt</translation>
    </message>
    <message>
        <source>“{name}” is connected, but the Corvalin suite on it is missing or older than this console works with. Most tools leave the computer out.</source>
        <translation>„{name}“ ist verbunden, aber die Corvalin-Suite fehlt dort oder ist älter, als diese Konsole es voraussetzt. Die meisten Werkzeuge lassen den Computer aus.</translation>
    </message>
    <message>
        <source>Install a more recent version of the Corvalin suite on “{name}”.</source>
        <translation>Installieren Sie eine neuere Version der Corvalin-Suite auf „{name}“.</translation>
    </message>
    <message>
        <source>No configuration received</source>
        <translation>Keine Konfiguration erhalten</translation>
    </message>
    <message>
        <source>“{name}” took the connection, but did not answer the first question about itself in time. Its agent is busy or hangs, or it is too old.</source>
        <translation>„{name}“ hat die Verbindung angenommen, aber die erste Frage zum Computer selbst nicht rechtzeitig beantwortet. Der Agent ist beschäftigt oder hängt, oder er ist zu alt.</translation>
    </message>
    <message>
        <source>If the computer is very busy, wait, then choose Retry.</source>
        <translation>Wenn der Computer stark beschäftigt ist, warten Sie und wählen Sie dann „Erneut versuchen“.</translation>
    </message>
    <message>
        <source>Make sure that it has the latest version of the client software.</source>
        <translation>Stellen Sie sicher, dass dort die neueste Version der Client-Software installiert ist.</translation>
    </message>
    <message>
        <source>This console is too old</source>
        <translation>Diese Konsole ist zu alt</translation>
    </message>
    <message>
        <source>“{name}” is connected and can be used, but its agent expects a more recent version of Orlendo. Some things may not work as they should.</source>
        <translation>„{name}“ ist verbunden und kann verwendet werden, aber der Agent erwartet eine neuere Version von Orlendo. Manches funktioniert möglicherweise nicht wie vorgesehen.</translation>
    </message>
    <message>
        <source>Install the current version of Orlendo on this machine.</source>
        <translation>Installieren Sie die aktuelle Version von Orlendo auf diesem Rechner.</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Deaktiviert</translation>
    </message>
    <message>
        <source>“{name}” is disabled in this console: it stays in the list, and tools leave it out.</source>
        <translation>„{name}“ ist in dieser Konsole deaktiviert: Der Computer bleibt in der Liste, und Werkzeuge lassen ihn aus.</translation>
    </message>
    <message>
        <source>Select it in the list of computers, then choose Computer ▸ Enable Computer.</source>
        <translation>Wählen Sie ihn in der Liste der Computer aus und wählen Sie dann „Computer ▸ Computer aktivieren“.</translation>
    </message>
    <message>
        <source>Connection failed</source>
        <translation>Verbindung fehlgeschlagen</translation>
    </message>
    <message>
        <source>“{name}” could not be connected to, for a reason that this console has no advice on.</source>
        <translation>Zu „{name}“ konnte keine Verbindung hergestellt werden; zur Ursache hat diese Konsole keinen Rat.</translation>
    </message>
    <message>
        <source>See that “{name}” is on and its client agent runs.</source>
        <translation>Stellen Sie sicher, dass „{name}“ eingeschaltet ist und der Client-Agent läuft.</translation>
    </message>
    <message>
        <source>Choose Test Port to see whether the port can be reached.</source>
        <translation>Wählen Sie „Port testen“, um festzustellen, ob der Port erreichbar ist.</translation>
    </message>
    <message>
        <source>Show the log: it has every step of the attempt.</source>
        <translation>Zeigen Sie das Protokoll an: Darin steht jeder Schritt des Versuchs.</translation>
    </message>
</context>
<context>
    <name>ProblemView</name>
    <message>
        <source>Problem</source>
        <translation>Problem</translation>
    </message>
    <message>
        <source>Computer</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>What it means</source>
        <translation>Was es bedeutet</translation>
    </message>
    <message>
        <source>Port test</source>
        <translation>Port-Test</translation>
    </message>
    <message>
        <source>Connecting to the port…</source>
        <translation>Verbindung zum Port wird hergestellt …</translation>
    </message>
    <message>
        <source>What to try</source>
        <translation>Was Sie versuchen können</translation>
    </message>
    <message>
        <source>Reported</source>
        <translation>Gemeldet</translation>
    </message>
    <message>
        <source>Step %1</source>
        <translation>Schritt %1</translation>
    </message>
    <message>
        <source>Command of step %1</source>
        <translation>Befehl zu Schritt %1</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Offen</translation>
    </message>
    <message>
        <source>Not open</source>
        <translation>Nicht offen</translation>
    </message>
    <message>
        <source>No address of the computer is known that could be tried.</source>
        <translation>Es ist keine Adresse des Computers bekannt, die geprüft werden könnte.</translation>
    </message>
</context>
<context>
    <name>ProgressSheet</name>
    <message>
        <source>Working</source>
        <translation>In Arbeit</translation>
    </message>
</context>
<context>
    <name>RemoteRunner</name>
    <message>
        <source>Nobody waited for the answer any longer.</source>
        <translation>Es hat niemand mehr auf die Antwort gewartet.</translation>
    </message>
    <message>
        <source>The computer did not answer in time.</source>
        <translation>Der Computer hat nicht rechtzeitig geantwortet.</translation>
    </message>
    <message>
        <source>The connection to the computer was lost.</source>
        <translation>Die Verbindung zum Computer ging verloren.</translation>
    </message>
    <message>
        <source>the computer is in error</source>
        <translation>beim Computer liegt ein Fehler vor</translation>
    </message>
    <message>
        <source>disabled</source>
        <translation>deaktiviert</translation>
    </message>
    <message>
        <source>its agent does not know this operation</source>
        <translation>der Agent kennt diesen Vorgang nicht</translation>
    </message>
    <message>
        <source>other computers were sent to first</source>
        <translation>andere Computer waren zuerst an der Reihe</translation>
    </message>
    <message>
        <source>it answered with nothing</source>
        <translation>die Antwort war leer</translation>
    </message>
    <message>
        <source>The answer to &quot;%1&quot; has the wrong type: expected %2, received %3.</source>
        <translation>Die Antwort auf „%1“ hat den falschen Typ: erwartet %2, erhalten %3.</translation>
    </message>
    <message>
        <source>The operation &quot;%1&quot; failed. %2</source>
        <translation>Der Vorgang „%1“ ist fehlgeschlagen. %2</translation>
    </message>
    <message>
        <source>its agent runs no tasks</source>
        <translation>der Agent führt keine Aufgaben aus</translation>
    </message>
</context>
<context>
    <name>Run</name>
    <message>
        <source>another change is under way there</source>
        <translation>dort ist eine andere Änderung im Gange</translation>
    </message>
    <message>
        <source>nothing to do there</source>
        <translation>dort ist nichts zu tun</translation>
    </message>
    <message>
        <source>cannot be taken back: its state could not be read</source>
        <translation>kann nicht rückgängig gemacht werden: der Zustand konnte nicht gelesen werden</translation>
    </message>
</context>
<context>
    <name>RunStatus</name>
    <message>
        <source>Canceling… %1</source>
        <translation>Wird abgebrochen … %1</translation>
    </message>
    <message>
        <source>%1 (%2 of %3)</source>
        <translation>%1 (%2 von %3)</translation>
    </message>
    <message>
        <source>Canceling…</source>
        <translation>Wird abgebrochen …</translation>
    </message>
    <message>
        <source> · waiting for %1</source>
        <translation> · wartet auf %1</translation>
    </message>
    <message>
        <source> and </source>
        <translation> und </translation>
    </message>
    <message>
        <source>%1 and %2 more</source>
        <translation>%1 und %2 weitere</translation>
    </message>
    <message>
        <source>Canceled “%1”: %2</source>
        <translation>„%1“ abgebrochen: %2</translation>
    </message>
</context>
<context>
    <name>ServiceList</name>
    <message>
        <source>A group needs a name</source>
        <translation>Eine Gruppe braucht einen Namen</translation>
    </message>
    <message>
        <source>A name has at most 255 characters</source>
        <translation>Ein Name hat höchstens 255 Zeichen</translation>
    </message>
    <message>
        <source>There is a group of this name already</source>
        <translation>Es gibt bereits eine Gruppe mit diesem Namen</translation>
    </message>
    <message>
        <source>All Computers</source>
        <translation>Alle Computer</translation>
    </message>
</context>
<context>
    <name>SettlekeepController</name>
    <message>
        <source>You must enter a backup name</source>
        <translation>Sie müssen einen Namen für die Sicherung eingeben</translation>
    </message>
    <message>
        <source>You must enter a valid name for this backup.</source>
        <translation>Sie müssen einen gültigen Namen für diese Sicherung eingeben.</translation>
    </message>
    <message>
        <source>No items selected</source>
        <translation>Keine Objekte ausgewählt</translation>
    </message>
    <message>
        <source>You must select at least one item to backup.</source>
        <translation>Sie müssen mindestens ein Objekt für die Sicherung auswählen.</translation>
    </message>
    <message>
        <source>Back Up</source>
        <translation>Sichern</translation>
    </message>
    <message>
        <source>Backed up</source>
        <translation>Gesichert</translation>
    </message>
    <message>
        <source>Quick Backup</source>
        <translation>Schnellsicherung</translation>
    </message>
    <message>
        <source>Lock</source>
        <translation>Sperren</translation>
    </message>
    <message>
        <source>Locked</source>
        <translation>Gesperrt</translation>
    </message>
    <message>
        <source>Unlock</source>
        <translation>Entsperren</translation>
    </message>
    <message>
        <source>Unlocked</source>
        <translation>Entsperrt</translation>
    </message>
    <message>
        <source>Trash</source>
        <translation>In den Papierkorb legen</translation>
    </message>
    <message>
        <source>Trashed</source>
        <translation>In den Papierkorb gelegt</translation>
    </message>
    <message>
        <source>Quick Trash</source>
        <translation>Schnell in den Papierkorb legen</translation>
    </message>
    <message>
        <source>main preferences</source>
        <translation>Haupteinstellungen</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>Wiederherstellen</translation>
    </message>
    <message>
        <source>Restored</source>
        <translation>Wiederhergestellt</translation>
    </message>
    <message>
        <source>the computer that has the backup is not in the list</source>
        <translation>der Computer mit der Sicherung ist nicht in der Liste</translation>
    </message>
    <message>
        <source>the backup could not be fetched from %1</source>
        <translation>die Sicherung konnte nicht von %1 geholt werden</translation>
    </message>
    <message>
        <source>Restoring backup on %1...</source>
        <translation>Sicherung wird auf %1 wiederhergestellt ...</translation>
    </message>
</context>
<context>
    <name>SettlekeepView</name>
    <message>
        <source>Settlekeep</source>
        <translation>Settlekeep</translation>
    </message>
    <message>
        <source>Back up, restore, lock and trash application preferences</source>
        <translation>Programmeinstellungen sichern, wiederherstellen, sperren und in den Papierkorb legen</translation>
    </message>
    <message>
        <source>Back Up…</source>
        <translation>Sichern …</translation>
    </message>
    <message>
        <source>Keeps a copy of the ticked preferences on every selected computer</source>
        <translation>Bewahrt auf jedem ausgewählten Computer eine Kopie der angehakten Einstellungen auf</translation>
    </message>
    <message>
        <source>Quick Backup…</source>
        <translation>Schnellsicherung …</translation>
    </message>
    <message>
        <source>Keeps a copy of the main preferences of all applications,
whatever is ticked</source>
        <translation>Bewahrt eine Kopie der Haupteinstellungen aller Programme auf,
unabhängig von den Häkchen</translation>
    </message>
    <message>
        <source>Lock</source>
        <translation>Sperren</translation>
    </message>
    <message>
        <source>Protects the files of the ticked preferences against every change.
Locked preferences can be neither restored nor trashed until they are unlocked.</source>
        <translation>Schützt die Dateien der angehakten Einstellungen vor jeder Änderung.
Gesperrte Einstellungen können weder wiederhergestellt noch in den Papierkorb gelegt werden, bis sie entsperrt sind.</translation>
    </message>
    <message>
        <source>Unlock</source>
        <translation>Entsperren</translation>
    </message>
    <message>
        <source>Lets applications change the ticked preferences again</source>
        <translation>Lässt Programme die angehakten Einstellungen wieder ändern</translation>
    </message>
    <message>
        <source>Trash</source>
        <translation>In den Papierkorb</translation>
    </message>
    <message>
        <source>Moves the ticked preferences to the trash of each selected computer, at once.
Applications make new ones when they are opened.</source>
        <translation>Legt die angehakten Einstellungen sofort in den Papierkorb jedes ausgewählten Computers.
Programme legen beim Öffnen neue an.</translation>
    </message>
    <message>
        <source>Quick Trash</source>
        <translation>Schnell in den Papierkorb</translation>
    </message>
    <message>
        <source>Moves the main preferences of all applications to the trash, at once,
whatever is ticked</source>
        <translation>Legt die Haupteinstellungen aller Programme sofort in den Papierkorb,
unabhängig von den Häkchen</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Tick All</source>
        <translation>Alle anhaken</translation>
    </message>
    <message>
        <source>Untick All</source>
        <translation>Alle Häkchen entfernen</translation>
    </message>
</context>
<context>
    <name>Sheet</name>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>StatusPanel</name>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Stop Waiting</source>
        <translation>Nicht mehr warten</translation>
    </message>
    <message>
        <source>Give up on the computers that have not answered yet</source>
        <translation>Nicht länger auf Computer warten, die noch nicht geantwortet haben</translation>
    </message>
    <message>
        <source>Details</source>
        <translation>Details</translation>
    </message>
    <message>
        <source>Show what became of it on each computer</source>
        <translation>Anzeigen, was auf jedem Computer daraus wurde</translation>
    </message>
    <message>
        <source>Retry Failed</source>
        <translation>Fehlgeschlagene wiederholen</translation>
    </message>
    <message>
        <source>Do it again on the computers where it was not done</source>
        <translation>Auf den Computern wiederholen, auf denen es nicht ausgeführt wurde</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Rückgängig</translation>
    </message>
    <message>
        <source>Take it back on the computers where it was done</source>
        <translation>Auf den Computern rückgängig machen, auf denen es ausgeführt wurde</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Fortschritt</translation>
    </message>
    <message>
        <source>Open the error log</source>
        <translation>Fehlerprotokoll öffnen</translation>
    </message>
    <message>
        <source>Run on the Rest</source>
        <translation>Auf den übrigen ausführen</translation>
    </message>
</context>
<context>
    <name>TargetsView</name>
    <message>
        <source>No computer selected</source>
        <translation>Kein Computer ausgewählt</translation>
    </message>
    <message>
        <source>%1 computers</source>
        <translation>%1 Computer</translation>
    </message>
    <message>
        <source>The computers that this tool works on</source>
        <translation>Die Computer, auf denen dieses Werkzeug arbeitet</translation>
    </message>
    <message>
        <source>%1 hidden by the search</source>
        <translation>%1 durch die Suche ausgeblendet</translation>
    </message>
    <message>
        <source>%1 left out by actions on all</source>
        <translation>%1 bei Aktionen auf alle ausgelassen</translation>
    </message>
    <message>
        <source> – not connected</source>
        <translation> – nicht verbunden</translation>
    </message>
    <message>
        <source> – hidden by the search</source>
        <translation> – durch die Suche ausgeblendet</translation>
    </message>
    <message>
        <source>… and %1 more</source>
        <translation>… und %1 weitere</translation>
    </message>
</context>
<context>
    <name>TaskThreads</name>
    <message>
        <source>Processing tasks on %i computer</source>
        <translation>Aufgaben werden auf %i Computer ausgeführt</translation>
    </message>
    <message>
        <source>Processing tasks on %i computers</source>
        <translation>Aufgaben werden auf %i Computern ausgeführt</translation>
    </message>
    <message>
        <source>%i computer selected</source>
        <translation>%i Computer ausgewählt</translation>
    </message>
    <message>
        <source>%i computers selected</source>
        <translation>%i Computer ausgewählt</translation>
    </message>
    <message>
        <source>Initializing...</source>
        <translation>Wird initialisiert ...</translation>
    </message>
    <message>
        <source>Canceling...</source>
        <translation>Wird abgebrochen ...</translation>
    </message>
    <message>
        <source>Processing task %i of %i</source>
        <translation>Aufgabe %i von %i wird ausgeführt</translation>
    </message>
</context>
<context>
    <name>ToolController</name>
    <message>
        <source>Refresh</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Read</source>
        <translation>Gelesen</translation>
    </message>
    <message>
        <source>not all of it was done there</source>
        <translation>dort wurde nicht alles ausgeführt</translation>
    </message>
    <message>
        <source>it gave no answer, so it was left alone</source>
        <translation>hat nicht geantwortet und wurde daher unverändert gelassen</translation>
    </message>
    <message>
        <source>Undo “%1”</source>
        <translation>„%1“ rückgängig machen</translation>
    </message>
    <message>
        <source>Took back “%1”</source>
        <translation>„%1“ rückgängig gemacht</translation>
    </message>
    <message>
        <source>it could not be taken back</source>
        <translation>konnte nicht rückgängig gemacht werden</translation>
    </message>
</context>
<context>
    <name>ToolList</name>
    <message>
        <source>Tools</source>
        <translation>Werkzeuge</translation>
    </message>
</context>
<context>
    <name>ToolPane</name>
    <message>
        <source>%1 and %2 more</source>
        <translation>%1 und %2 weitere</translation>
    </message>
    <message>
        <source>%1 and %2</source>
        <translation>%1 und %2</translation>
    </message>
    <message>
        <source>%1 is left out.</source>
        <translation>%1 wird ausgelassen.</translation>
    </message>
    <message>
        <source>%1 are left out.</source>
        <translation>%1 werden ausgelassen.</translation>
    </message>
    <message>
        <source>Show…</source>
        <translation>Anzeigen …</translation>
    </message>
    <message>
        <source>The computers that gave no answer, and why</source>
        <translation>Die Computer, die nicht geantwortet haben, und der Grund dafür</translation>
    </message>
    <message>
        <source>Differences Only</source>
        <translation>Nur Unterschiede</translation>
    </message>
    <message>
        <source>No answer from %1</source>
        <translation>Keine Antwort von %1</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>und %1 weitere</translation>
    </message>
    <message>
        <source>Computers that gave no answer</source>
        <translation>Computer, die nicht geantwortet haben</translation>
    </message>
    <message>
        <source>Show All</source>
        <translation>Alle anzeigen</translation>
    </message>
    <message>
        <source>Select one or more in the list on the left, or All Computers.</source>
        <translation>Wählen Sie in der Liste links einen oder mehrere aus, oder „Alle Computer“.</translation>
    </message>
    <message>
        <source>The selected computer is not connected</source>
        <translation>Der ausgewählte Computer ist nicht verbunden</translation>
    </message>
    <message>
        <source>The selected computers are not connected</source>
        <translation>Die ausgewählten Computer sind nicht verbunden</translation>
    </message>
    <message>
        <source>The selected computer did not answer</source>
        <translation>Der ausgewählte Computer hat nicht geantwortet</translation>
    </message>
    <message>
        <source>The selected computers did not answer</source>
        <translation>Die ausgewählten Computer haben nicht geantwortet</translation>
    </message>
    <message>
        <source>The error log says why. Choose Refresh to ask again.</source>
        <translation>Der Grund steht im Fehlerprotokoll. Wählen Sie „Aktualisieren“, um erneut anzufragen.</translation>
    </message>
    <message>
        <source>Choose Refresh to read them from the selected computers.</source>
        <translation>Wählen Sie „Aktualisieren“, um sie von den ausgewählten Computern zu lesen.</translation>
    </message>
    <message>
        <source>Enable</source>
        <translation>Aktivieren</translation>
    </message>
    <message>
        <source>Enable All</source>
        <translation>Alle aktivieren</translation>
    </message>
    <message>
        <source>Enable All %1</source>
        <translation>Alle %1 aktivieren</translation>
    </message>
    <message>
        <source>Enable all %1 on 1 computer</source>
        <translation>Alle %1 auf 1 Computer aktivieren</translation>
    </message>
    <message>
        <source>Enable all %1 on %2 computers</source>
        <translation>Alle %1 auf %2 Computern aktivieren</translation>
    </message>
    <message>
        <source>Disable</source>
        <translation>Deaktivieren</translation>
    </message>
    <message>
        <source>Disable All</source>
        <translation>Alle deaktivieren</translation>
    </message>
    <message>
        <source>Disable All %1</source>
        <translation>Alle %1 deaktivieren</translation>
    </message>
    <message>
        <source>Disable all %1 on 1 computer</source>
        <translation>Alle %1 auf 1 Computer deaktivieren</translation>
    </message>
    <message>
        <source>Disable all %1 on %2 computers</source>
        <translation>Alle %1 auf %2 Computern deaktivieren</translation>
    </message>
    <message>
        <source>%1,
also the %2 that the filter hides</source>
        <translation>%1,
auch die %2, die der Filter ausblendet</translation>
    </message>
    <message>
        <source>The filter does not narrow this: %1 that is not shown are changed as well.</source>
        <translation>Der Filter schränkt dies nicht ein: Auch was nicht angezeigt wird, wird geändert (%1).</translation>
    </message>
    <message>
        <source>The filter does not narrow this: %1 that are not shown are changed as well.</source>
        <translation>Der Filter schränkt dies nicht ein: Auch was nicht angezeigt wird, wird geändert (%1).</translation>
    </message>
    <message>
        <source>%1?</source>
        <translation>%1?</translation>
    </message>
</context>
<context>
    <name>ToolPanes</name>
    <message>
        <source>This tool is not part of this version yet.</source>
        <translation>Dieses Werkzeug ist noch nicht Teil dieser Version.</translation>
    </message>
    <message>
        <source>%1 will work here on the computers selected at the left.</source>
        <translation>%1 wird hier auf den links ausgewählten Computern arbeiten.</translation>
    </message>
</context>
<context>
    <name>ToolRegistry</name>
    <message>
        <source>Faultscope</source>
        <translation>Faultscope</translation>
    </message>
    <message>
        <source>Collect, analyse and submit crash logs</source>
        <translation>Absturzprotokolle sammeln, auswerten und einsenden</translation>
    </message>
    <message>
        <source>Varispot</source>
        <translation>Varispot</translation>
    </message>
    <message>
        <source>Compare working machines with failing ones</source>
        <translation>Funktionierende Rechner mit fehlerhaften vergleichen</translation>
    </message>
    <message>
        <source>Tidyhand</source>
        <translation>Tidyhand</translation>
    </message>
    <message>
        <source>Clean caches and clutter</source>
        <translation>Caches und Datenmüll aufräumen</translation>
    </message>
    <message>
        <source>Purgewright</source>
        <translation>Purgewright</translation>
    </message>
    <message>
        <source>Remove applications with everything that belongs to them</source>
        <translation>Programme mit allem entfernen, was dazugehört</translation>
    </message>
    <message>
        <source>Qmaster</source>
        <translation>Qmaster</translation>
    </message>
    <message>
        <source>Control render sharing and jobs</source>
        <translation>Render-Verteilung und Jobs steuern</translation>
    </message>
    <message>
        <source>Encodemend</source>
        <translation>Encodemend</translation>
    </message>
    <message>
        <source>Find and repair encoder problems</source>
        <translation>Encoder-Probleme finden und beheben</translation>
    </message>
    <message>
        <source>Snapmend</source>
        <translation>Snapmend</translation>
    </message>
    <message>
        <source>Fix common faults with one click</source>
        <translation>Häufige Fehler mit einem Klick beheben</translation>
    </message>
    <message>
        <source>Routemark</source>
        <translation>Routemark</translation>
    </message>
    <message>
        <source>Edit and synchronise media and scratch paths</source>
        <translation>Medien- und Scratch-Pfade bearbeiten und synchronisieren</translation>
    </message>
    <message>
        <source>Hostbench</source>
        <translation>Hostbench</translation>
    </message>
    <message>
        <source>Trash caches and set up applications</source>
        <translation>Caches in den Papierkorb legen und Programme einrichten</translation>
    </message>
    <message>
        <source>Corvalin Applications</source>
        <translation>Corvalin-Programme</translation>
    </message>
    <message>
        <source>Launch and quit the applications of the suite</source>
        <translation>Die Programme der Suite starten und beenden</translation>
    </message>
    <message>
        <source>Final Cut Studio</source>
        <translation>Final Cut Studio</translation>
    </message>
    <message>
        <source>Launch, quit and force-quit the editing applications</source>
        <translation>Die Schnittprogramme starten, beenden und zwangsweise beenden</translation>
    </message>
    <message>
        <source>Client Settings</source>
        <translation>Client-Einstellungen</translation>
    </message>
    <message>
        <source>Change the settings of the agents</source>
        <translation>Die Einstellungen der Agenten ändern</translation>
    </message>
</context>
<context>
    <name>TroubleshooterWindow</name>
    <message>
        <source>Connecting…</source>
        <translation>Verbindung wird hergestellt …</translation>
    </message>
    <message>
        <source>port %1</source>
        <translation>Port %1</translation>
    </message>
    <message>
        <source>Connection Troubleshooter</source>
        <translation>Verbindungsdiagnose</translation>
    </message>
    <message>
        <source>All computers are connected</source>
        <translation>Alle Computer sind verbunden</translation>
    </message>
    <message>
        <source>A computer that cannot be reached, or that something is wrong with, is listed here with what can be done about it.</source>
        <translation>Hier werden Computer, die nicht erreichbar sind oder mit denen etwas nicht stimmt, samt möglicher Abhilfe aufgeführt.</translation>
    </message>
    <message>
        <source>Computers</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>Failing computers</source>
        <translation>Computer mit Problemen</translation>
    </message>
    <message>
        <source>Copy Details</source>
        <translation>Details kopieren</translation>
    </message>
    <message>
        <source>Copy everything shown about this computer</source>
        <translation>Alles kopieren, was zu diesem Computer angezeigt wird</translation>
    </message>
    <message>
        <source>Show Log</source>
        <translation>Protokoll anzeigen</translation>
    </message>
    <message>
        <source>Show the console&apos;s own log</source>
        <translation>Das eigene Protokoll der Konsole anzeigen</translation>
    </message>
    <message>
        <source>Review New Identity…</source>
        <translation>Neue Identität prüfen …</translation>
    </message>
    <message>
        <source>Compare the new key with the one the computer was known by</source>
        <translation>Den neuen Schlüssel mit dem bisher bekannten des Computers vergleichen</translation>
    </message>
    <message>
        <source>Test Port</source>
        <translation>Port testen</translation>
    </message>
    <message>
        <source>Try whether the computer&apos;s port takes connections</source>
        <translation>Prüfen, ob der Port des Computers Verbindungen annimmt</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>Erneut versuchen</translation>
    </message>
    <message>
        <source>Connect to the computer anew</source>
        <translation>Verbindung zum Computer neu herstellen</translation>
    </message>
    <message>
        <source>
Port test:
</source>
        <translation>
Port-Test:
</translation>
    </message>
</context>
<context>
    <name>VLAlert</name>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>WelcomeSheet</name>
    <message>
        <source>Welcome to Orlendo</source>
        <translation>Willkommen bei Orlendo</translation>
    </message>
    <message>
        <source>Computers appear by themselves</source>
        <translation>Computer erscheinen von selbst</translation>
    </message>
    <message>
        <source>Every workstation on the network that runs the client agent is listed at the left. Add others by their address with Add Computer.</source>
        <translation>Jede Workstation im Netzwerk, auf der der Client-Agent läuft, wird links aufgeführt. Weitere fügen Sie mit „Computer hinzufügen“ über ihre Adresse hinzu.</translation>
    </message>
    <message>
        <source>Select what to work on</source>
        <translation>Auswählen, woran gearbeitet wird</translation>
    </message>
    <message>
        <source>One computer, several, or All Computers. What you do then happens on each of them.</source>
        <translation>Ein Computer, mehrere oder „Alle Computer“. Was Sie dann tun, geschieht auf jedem davon.</translation>
    </message>
    <message>
        <source>Choose a tool</source>
        <translation>Werkzeug wählen</translation>
    </message>
    <message>
        <source>Its results from all selected computers are merged into one list that shows where they differ.</source>
        <translation>Die Ergebnisse aller ausgewählten Computer werden in einer Liste zusammengeführt, die zeigt, worin sie sich unterscheiden.</translation>
    </message>
    <message>
        <source>Get Started</source>
        <translation>Los geht’s</translation>
    </message>
</context>
</TS>

<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>ActivityDetailsModel</name>
    <message>
        <source>Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Outcome</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reason</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ActivityFilterBar</name>
    <message>
        <source>Find in what was done</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All Computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tool</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All Tools</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Outcome</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All Outcomes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Changes only</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Words in the action, the subject, the tool, the user or a computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Leave out what only read</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not Everywhere</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>On one computer at least it was not done</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ActivityModel</name>
    <message>
        <source>Time</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tool</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Action</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Subject</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Outcome</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>User</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ActivityWindow</name>
    <message>
        <source>Console</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 run</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 runs</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 min %2 s</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop Export</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Retry Failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Undo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Activity</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Runs</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computers of the chosen run</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy the selected runs as text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Write all runs that are listed into a file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Give up writing the file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Do it again on the computers where it was not done</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Take it back on the computers where it was done</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>As &amp;CSV…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>As &amp;JSON…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>That run is not kept.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Activity cannot be read</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reading what was done</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Nothing like that was done</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No run passes the filters above.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show All Runs</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Nothing was done yet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Whatever the tools do on computers is listed here, with what became of it on each of them.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>That run is not on the disk: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reading…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 found</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>What is done now is not kept: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No run is chosen</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>took %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>took an earlier run back</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>repeated an earlier run</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>was taken back</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>What became of it on each computer is shown here.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copied only the newest %1 of %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export Activity</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Activity %1.%2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Exporting: %1 of %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Exporting…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>There is no thread to be had.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Exported %1 to %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The export was stopped; nothing is written.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to export the activity</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AddComputerSheet</name>
    <message>
        <source>Add Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computers on this network appear by themselves. Enter one here that does not: its client agent must be running.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Edit Bay 5</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>As it should be listed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A name has 1 to 255 characters</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>IPv4 address, or “localhost”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Four numbers with dots and no leading zeros, or “localhost”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1025 to 65535</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The TCP port of its client agent, usually 5473</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A number from 1025 to 65535</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Edit Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection already exists</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>There is already a service with this IP address and port.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AddonryController</name>
    <message>
        <source>Disable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install for Current User</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install for All Users</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Installed for the current user</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Installed for all users</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Synchronise</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Synchronised</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>plug-ins</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 plug-ins</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>all plug-ins</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>It does not have these plug-ins any more: %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Syncing %1...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“%1” could not be fetched from %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AddonryView</name>
    <message>
        <source>Enabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Current User</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All Users</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Addonry</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Compare, enable and synchronise the plug-ins of the editing suite</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Plug-ins</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 plug-in</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 plug-ins</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Filter plug-ins</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show only plug-ins that are not the same on all computers that answered</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No matching plug-in</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No plug-in passes the filter.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select computers to list their plug-ins</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reading plug-ins…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Plug-ins are read as soon as a computer is connected.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No plug-ins found on the selected computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Plug-ins have not been read yet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>nothing is installed there</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bring the newest version of every plug-in that differs to all selected computers that answered, with the settings that most of them have</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install for All Users</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install for Current User</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Aggregation</name>
    <message>
        <source>Not installed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Running</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not running</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Some running</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AppController</name>
    <message>
        <source>The computer&apos;s client agent has crashed. Its crash log is “%1”.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AuthSheet</name>
    <message>
        <source>Authorization</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Use for all selected computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remember the password in my keyring</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>User Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Password</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No keyring answers on this desktop: the password is forgotten when Orlendo quits.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Skip</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Leave this computer out and go on with the others</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>OK</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Authorization for %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>For %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>For %1 on %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Checking with %1…</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AuthorizationController</name>
    <message>
        <source>Please enter an administrator username and password:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to check the password</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 does not answer. Please try again, or skip this computer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invalid username or password</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Please enter a valid admin username and password for %@.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Are you sure you wish to remove all stored passwords?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>You will be required to re-enter them next time you perform an authorized action.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AuthorizedRunner</name>
    <message>
        <source>no password was given</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>its agent does not know this operation</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>BackupList</name>
    <message>
        <source>Standard</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Known Good</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Before Update</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Type %1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>BackupModel</name>
    <message>
        <source>Backup</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Type</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Date</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Size</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>BackupPane</name>
    <message>
        <source>Backups</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 backup</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 backups</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Filter backups</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No matching backup</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No backup passes the filter.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select computers to list their backups</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reading backups…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Backups are read as soon as a computer is connected.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No backups found on the selected computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Backups have not been read yet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tick preferences above and choose Back Up.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restore…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Puts the preferences of the selected backup in place on every selected computer.
Those that are there now are replaced.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 on 1 computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 on %2 computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restore “%1” on %2?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restore “%1” on %2 computers?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restore</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The preferences in this backup replace those on %1.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>BackupSheet</name>
    <message>
        <source>Back Up Preferences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Before the summer project</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A note for later: what this backup stands for</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Type</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Back Up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The ticked preferences are kept on the selected computer: %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The ticked preferences are kept on each of the %1 selected computers: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quick Backup</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The main preferences of all applications are kept on the selected computer, whatever is ticked.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The main preferences of all applications are kept on each of the %1 selected computers, whatever is ticked.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>BadgeClicks</name>
    <message>
        <source>Cancel the maintenance request of “%1”?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The computer asks for maintenance. When nothing is left to do on it, cancel the request: the mark goes from the list, and the computer is told.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep Request</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel Request</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>it is disabled. Enable the computer first</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>its client software is not in order. Show its errors</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>it is not connected. Connect to it first</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“%1” asks for maintenance</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The request cannot be cancelled from here at present: the computer cannot be told, because %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>OK</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 software update for “%2”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 software updates for “%2”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Installing software updates is not part of this version yet. They can be installed on the computer itself.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ClientActions</name>
    <message>
        <source>Show Information</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show what is known of the computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Review New Identity…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Compare the computer&apos;s new key with the one it was known by</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reconnect</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reconnect %1 Computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connect to the computer anew</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disconnect</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>End the connection and take the computer off the list; one that was added by hand is also forgotten, after asking</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Refresh Client Info</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Refresh Client Info of %1 Computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Read the computer&apos;s configuration again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel Maintenance Request</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel %1 Maintenance Requests</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tell the computer that its request for maintenance is done with</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Errors</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show the computer&apos;s errors in the error log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Software Updates</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show the software updates that wait for the computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restart Client</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restart %1 Clients…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start the computer&apos;s client agent anew</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop Client…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop %1 Clients…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>End the computer&apos;s client agent; it has to be started there again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restart the client agents of %1 computers?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restart</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>What the agents are doing is cut short; they connect again by themselves.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop the client agent of “%1”?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop the client agents of %1 computers?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Orlendo cannot start it again: that has to be done on the computer itself.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove “%1”?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The computer was added by hand. To have it in the list again, its address and port must be entered again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disable Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Leave the computer out of what is done with the selected ones</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disable %1 Computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable %1 Computers</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ClientCommands</name>
    <message>
        <source>Restart Client</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restarted the client</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop Client</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stopped the client</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel Maintenance</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancelled maintenance</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ClientInfo</name>
    <message>
        <source>unknown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>none</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not reported</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Added by hand</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Demonstration</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Found on the network</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not connected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Requested</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not requested</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Host name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Other names</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Model</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Listed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Group</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>State</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Last error</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Key fingerprint</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Agent version</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Suite version</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Needs console</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Preferred name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Maintenance</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Updates waiting</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Last counted</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Own crash log</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ClientInfoPanel</name>
    <message>
        <source>Information</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select one computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>What is known of it is shown here.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Picture of the computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy everything shown as text</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ClientOutline</name>
    <message>
        <source>Search computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New group</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No computers found yet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computers that run the client agent appear here by themselves. You can also add one by its address.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Computer…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No matching computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No name, address or model contains “%1”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Clear Search</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ClientOutlineModel</name>
    <message>
        <source>1 computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Work on every computer of the list, also on those found later</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Empty: drag computers here</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 more not found at present</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Asks for maintenance</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1 error in the error log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 errors in the error log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1 software update available</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 software updates available</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1, port %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Added by hand</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ClientRowDelegate</name>
    <message>
        <source>Drag computers here</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Empty</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1 software update available</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 software updates available</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1 error. Click to see them in the error log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 errors. Click to see them in the error log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Asks for maintenance. Click to cancel the request</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name of the group</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ClientState</name>
    <message>
        <source>Client software out of date</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Suite out of date</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No configuration received</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Identity changed — review</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Working…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connecting…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not connected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not connected — %1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CorvalinError</name>
    <message>
        <source>Unknown error. Please check error logs on the local machine.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Application %@ not found.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Could not find Info.plist file for application %@ not found.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Application %@ is outdated. Please update this application.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Task not found for application %@. Please update this application.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The task was canceled because the destination computer was too busy. Switch off this setting in the application&apos;s preferences in order to prevent this in the future.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Incorrect username or password.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Corvalin is not installed properly or the version you are using is outdated. Please install a recent version of Corvalin on this computer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Corvalin Network Client is outdated on this machine. Please install a more recent version.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Corvalin is outdated on this machine. Please install a more recent version.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection timed out. Please make sure that you have the latest version of the client software.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CronwellController</name>
    <message>
        <source>Enable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 tasks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>all tasks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>These tasks have become others by now: %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 more</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Are you sure you wish to delete this task?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Are you sure you wish to delete these tasks?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Only on %1. This cannot be undone.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This cannot be undone.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Removed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Added</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Synchronise</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Synchronised</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>tasks</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CronwellView</name>
    <message>
        <source>Enabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Root</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>User</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cronwell</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Schedule maintenance tasks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Scheduled tasks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 task</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 tasks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Filter tasks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show only tasks that are not the same on all computers that answered</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No matching task</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No task passes the filter.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select computers to list their tasks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reading tasks…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Scheduled tasks are read as soon as a computer is connected.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No tasks found on the selected computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Scheduled tasks have not been read yet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>nothing is added there</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Schedule a task on all selected computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete the selected tasks from every computer that has them,
or only the selected jobs of single computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Give every task that differs the schedule that most computers have, and add it where it is missing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Task</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Task…</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ErrorLog</name>
    <message>
        <source>%i error</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%i errors</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ErrorLogModel</name>
    <message>
        <source>Date</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tool</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Action</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Description</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ErrorLogWindow</name>
    <message>
        <source>Copy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Upload…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Clear</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error Log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No errors</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>What goes wrong on a computer, or on the way to it, is listed here.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy the selected errors, or all when none is selected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send all errors to the maker of Orlendo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Errors</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select All of This Computer</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>FailingClientsModel</name>
    <message>
        <source>, connecting</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>GroupActions</name>
    <message>
        <source>Move to &amp;Group</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New &amp;Group…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add a group to the list of computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Re&amp;name Group</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change the name of the selected group</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Delete Group…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove the selected group; its computers stay in the list</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Collapse</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hide or show the group&apos;s computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Forget Missing Computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Those of the group that are not found at present</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Expand</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Its 1 computer stays in the list.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Its %1 computers stay in the list.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>That 1 computer not found at present belongs to it is forgotten.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>That %1 computers not found at present belong to it is forgotten.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete the group “%1”?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete Group</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No Group</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sort Computers &amp;By</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;State</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>As&amp;cending</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Descending</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>GroupSheet</name>
    <message>
        <source>New Group</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A group is a shortcut to the computers in it: select it to work on all of them. Drag computers into it and out of it at any time.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Edit Bays</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Put the selected computer into it</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Put the %1 selected computers into it</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Group</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>As it should be listed</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>IdentitySheet</name>
    <message>
        <source>not known</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The identity of “%1” has changed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The computer shows another key than the one it was known by. That is so after its agent was installed anew — or when another computer answers in its place. Compare the new fingerprint with the one that “corvalin-agent --print-fingerprint” shows there before you accept it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New identity of %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Known fingerprint (SHA-256)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New fingerprint (SHA-256)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>I have compared the new fingerprint</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Accept New Identity</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>LogWindow</name>
    <message>
        <source>Find in the log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not found</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Follow new lines</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Console Log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Find previous</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Find next</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MachineFacts</name>
    <message>
        <source>none</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>unknown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Yes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 byte</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 bytes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 value</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 values</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Unable to save the settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 could not be written. It is tried again until it works; what was changed is lost when Orlendo is quit before that.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Software updates are not part of this version yet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 update waits. Installing it is not part of this version yet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 updates wait. Installing them is not part of this version yet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Administration console of the Corvalin suite
Version %1 (%2)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to check for updates</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The console&apos;s log says why.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Corvalin Orlendo is outdated</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Search for Updates</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ignore</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The client software on %@ is expecting a more recent version of Orlendo. Continued use of an outdated version could cause stability issues.

Would you like to update Corvalin Orlendo now?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add a computer by its address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Edit Computer…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change the name, the address or the port of a computer added by hand</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Read the visible tool&apos;s data from the selected computers again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Software Update</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Activity</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show what was done, and what became of it on each computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Logs</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show the console&apos;s own log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error Log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show the errors of all computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Main Toolbar</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Add Computer…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add &amp;Demonstration Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add a computer with sample data, to try the tools without a client agent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Quit Orlendo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select &amp;All Computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Find Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Preferences…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>For&amp;get Results</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Empty all tools; what is being read is cancelled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Theme</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Go To</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove Stored &amp;Passwords…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Window</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>As the &amp;System</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Light</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Dark</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to open the page</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Orlendo &amp;Manual</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Orlendo Home Page</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Corvalin Suite Home Page</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Maker&apos;s &amp;Home Page</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Make a &amp;Suggestion</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Report a &amp;Bug</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;About Orlendo</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ManualConnectionsView</name>
    <message>
        <source>Remove</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Edit…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No manual connections</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Computer enters one.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Computer…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>End the connection and forget the address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change the name, the address or the port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>State</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Manual connections</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not in the list</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connecting…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not connected</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MergedOutlineModel</name>
    <message>
        <source>Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Version</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Type</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Access</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Versions differ</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enabled on %1 of %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enabled on some only</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Access differs</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Several copies on one computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not installed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Task</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Schedule</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tool</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Runs As</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Schedules differ</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not scheduled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Status</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Missing on %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Missing on %1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Duplicated on %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Duplicated on %1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The same on 1 computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The same on %1 computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No differences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No answer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mixed</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MergedOutlineView</name>
    <message>
        <source>Synchronise</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Synchronise %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 is there more than once on a computer. All of them become alike there and do the same at the same time; remove what is too much first.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 are there more than once on a computer. All of them become alike there and do the same at the same time; remove what is too much first.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Synchronise %1?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 with differences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>no differences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 more than once on a computer</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>NewTaskSheet</name>
    <message>
        <source>Monday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tuesday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wednesday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Thursday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Friday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Saturday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sunday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>January</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>February</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>March</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>April</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>May</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>June</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>July</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>August</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>September</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>October</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>November</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>December</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Task</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The task is scheduled on all selected computers that have the tool.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Run as administrator (root)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tool</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Task</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>At specific interval</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Every x seconds</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Whenever a directory changes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Schedule</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Any</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Minute</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hour</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Day</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Weekday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Month</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Seconds</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Directory</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The path as it is on the selected computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Takes an administrator&apos;s name and password of each computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose either a day of the month or a weekday.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Anyway</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 has this task already, and would run it by both schedules.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 have this task already, and would run it by both schedules.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No answer from %1: nothing is added there.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reading the tools of the selected computers…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No tool on the selected computers has tasks to schedule.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not available on %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All selected computers have this tool.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All computers that answered have this tool.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Outcome</name>
    <message>
        <source>left alone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>answered</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>done</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>left out</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>skipped</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>cancelled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not connected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>no answer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>refused</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>failed</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>OutcomeCounts</name>
    <message>
        <source>%1 on %2 of %3 computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 on %2 of %3 computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 on %2 computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 on %2 computers</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PaneParts</name>
    <message>
        <source>Expand All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Collapse All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PortTest</name>
    <message>
        <source>%1, port %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 is closed: the computer answers, but no program takes connections there.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 cannot be reached: the network knows no way there.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 does not answer: nothing came back in time.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1: the name leads to no address.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>An address or port of the computer is not valid.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1, port %2 is open: it took the connection after %3 ms.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This computer has too much to do to try it.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PreferenceModel</name>
    <message>
        <source>Found by each computer&apos;s agent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 and %2 more</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>On %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Partly, on %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>On %1 computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Partly, on %1 computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Locked on:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Locked</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Files</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PreferenceTree</name>
    <message>
        <source>Preferences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Boris Plugin Preferences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Button Bars</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keyboard Layouts</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Window Layouts</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Column Layouts</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Track Layouts</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Custom Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>User Plugins</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Destinations</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PreferencesWindow</name>
    <message>
        <source>Preferences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>General</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Security</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Network</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Runs</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Check for newer versions at start</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Orlendo looks for a newer version of itself each time it starts.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Refresh the visible tool automatically</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tools whose data changes by itself are read again every 30 seconds to 5 minutes while Orlendo is in front.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show the welcome at the next start</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>It explains how the window is used, and is shown once.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Theme:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>As the System</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Light</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Dark</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Require an administrator&apos;s password at start</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Whoever opens Orlendo must prove to be an administrator of this computer first.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Store client passwords in the keyring</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>An administrator&apos;s password that was entered for a computer is offered again the next time. Otherwise it is forgotten when Orlendo quits.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computers on the local network are found by themselves. These were added by their address and are connected to at every start.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Computers worked at once:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>More get a large fleet done sooner and load the network more. Holds from the next run on.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Work the computers that are left over</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A run divides the selected computers evenly among this machine&apos;s processors. Those that are left over follow by themselves; otherwise you are told which they are.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep &amp;Activity for:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> day</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> days</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Use at &amp;most:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> MB</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>What is older goes first.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Orlendo would not start any more</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Turn On Anyway</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This version cannot ask for an administrator&apos;s password, and without the password it does not open. To undo this later, the entry “requireAdminPassword” has to be taken out of the settings file by hand:

%1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ProblemTexts</name>
    <message>
        <source>Choose Retry. The console also tries again by itself every few seconds.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No agent on this port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“{name}” can be reached at {address}, but nothing there takes connections on port {port}. Its client agent is not running, or it uses another port.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start the client agent on “{name}”; it is a service that can be started like this:|systemctl start corvalin-agent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If its agent uses another port, take the computer off the list and add it again with that port.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>See that no firewall on the computer turns connections to TCP port {port} down.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No way to the computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The network knows no way to {address}. Either machine is off the network, or the two are in networks that are not joined.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Check the network connection of this machine and of “{name}”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>See that {address} is still the address of “{name}”; it may have been given another one.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If the computer is in another network, join the networks (a router, a VPN) first.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No answer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Nothing came back from “{name}” in time. It is switched off or asleep, the address {address} is not its own any more, or a firewall swallows what is sent to port {port}.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wake “{name}” up, or switch it on.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>See that {address} is still its address.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Let the firewalls between the two machines pass TCP port {port}.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose Test Port to see whether it is the port or the whole computer that does not answer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name not found</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The name by which “{name}” is looked for leads to no address.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>See that the computer is switched on and announces itself, or that the name server knows it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If it has a fixed address, add it by that: choose Add Computer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No usable address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“{name}” is listed with an address or a port that cannot be right: {address}, port {port}.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Take it off the list and add it again with its IPv4 address and the port of its agent.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If it was found on the network, restart its client agent, so that it announces itself anew.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This console is not authorized</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A client agent serves only consoles that were made known to it. This console&apos;s certificate is not among those that “{name}” was given.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>On this machine, write the console&apos;s certificate to a file:|orlendo --export-certificate console.crt</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy the file to “{name}”, into the folder of authorized consoles:|cp console.crt /var/lib/corvalin-agent/authorized/</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Or, where the agent is started by hand, start it anew with that file:|corvalin-agent --authorize console.crt</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose Retry.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Identity has changed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“{name}” shows another key than the one it was known by. That is so after its agent was installed anew — or when another computer answers in its place. Nothing is sent to it until the new key has been accepted.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Find out whether the agent was installed anew, or the computer replaced.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Have the fingerprint of its key shown on “{name}” itself:|corvalin-agent --print-fingerprint</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose Review New Identity and compare the two. Accept only when they are the same.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stored key is unreadable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The key by which this console knows “{name}” is in a file that cannot be read, so it cannot tell whether the right computer answers. Nothing is sent to it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The file is named below. See that you may read it and that its disk is there, or bring it back from a backup.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If it is damaged, remove it: the console then takes the key that “{name}” shows next. Compare its fingerprint with the one on “{name}” itself:|corvalin-agent --print-fingerprint</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not a client agent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Something answers at {address}, port {port}, but it is no client agent: the port belongs to another program, or the address to another machine.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>See which port the agent on “{name}” uses (5473 unless it was changed).</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>See that {address} is the address of “{name}”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Take the computer off the list and add it again with the right address and port.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection closed at once</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“{name}” takes the connection and closes it before it has said anything. Its agent is just starting or ending, it has too many connections, or another program uses the port.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wait a moment, then choose Retry.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restart the client agent on “{name}”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Look into the agent&apos;s log there for the reason.|journalctl -u corvalin-agent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Answers cannot be read</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>What “{name}” sends cannot be understood, so the connection was ended. Its agent may be of quite another version, or damaged.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install the current version of the Corvalin suite on “{name}”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>See that the agent and nothing else uses port {port} there.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show the log: it says what could not be read.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No sign of life</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“{name}” was connected, then nothing more came from it. It was switched off or fell asleep, its network connection broke, or it is too busy to answer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>See that “{name}” is on, awake and on the network.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If it is busy, wait until it has time again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection lost</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The connection to “{name}” stood and was then closed from there: its agent was ended or restarted, or the computer was shut down.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If the computer is just restarting, wait: it is connected again as soon as its agent runs.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start the client agent on “{name}”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not on the network any more</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“{name}” was neither added by hand nor does it announce itself, so there is nothing to connect to. The console does not try again by itself.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start “{name}” and its client agent: it then appears in the list by itself.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If it is in a network that announcements do not reach, add it by its address: choose Add Computer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Agent not installed properly</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The agent of “{name}” answers, but not what this console asks it for. The suite there is incomplete, damaged or far too old.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install a recent version of the Corvalin suite on “{name}”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restart its client agent, then choose Retry.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show the log: it says what the agent answered.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Client agent too old</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“{name}” is connected, but its client agent is older than this console works with. Most tools leave the computer out.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install a more recent version of the client agent on “{name}”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restart the agent, then choose Retry.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Suite too old</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“{name}” is connected, but the Corvalin suite on it is missing or older than this console works with. Most tools leave the computer out.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install a more recent version of the Corvalin suite on “{name}”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No configuration received</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“{name}” took the connection, but did not answer the first question about itself in time. Its agent is busy or hangs, or it is too old.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If the computer is very busy, wait, then choose Retry.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Make sure that it has the latest version of the client software.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This console is too old</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“{name}” is connected and can be used, but its agent expects a more recent version of Orlendo. Some things may not work as they should.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install the current version of Orlendo on this machine.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“{name}” is disabled in this console: it stays in the list, and tools leave it out.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select it in the list of computers, then choose Computer ▸ Enable Computer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“{name}” could not be connected to, for a reason that this console has no advice on.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>See that “{name}” is on and its client agent runs.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose Test Port to see whether the port can be reached.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show the log: it has every step of the attempt.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ProblemView</name>
    <message>
        <source>Problem</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>What it means</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port test</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connecting to the port…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>What to try</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reported</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Step %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Command of step %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not open</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No address of the computer is known that could be tried.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ProgressSheet</name>
    <message>
        <source>Working</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>RemoteRunner</name>
    <message>
        <source>Nobody waited for the answer any longer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The computer did not answer in time.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The connection to the computer was lost.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the computer is in error</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>disabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>its agent does not know this operation</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>other computers were sent to first</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>it answered with nothing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The answer to &quot;%1&quot; has the wrong type: expected %2, received %3.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The operation &quot;%1&quot; failed. %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>its agent runs no tasks</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Run</name>
    <message>
        <source>another change is under way there</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>nothing to do there</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>cannot be taken back: its state could not be read</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>RunStatus</name>
    <message>
        <source>Canceling… %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 (%2 of %3)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Canceling…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> · waiting for %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> and </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 and %2 more</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Canceled “%1”: %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ServiceList</name>
    <message>
        <source>A group needs a name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A name has at most 255 characters</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>There is a group of this name already</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SettlekeepController</name>
    <message>
        <source>You must enter a backup name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>You must enter a valid name for this backup.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No items selected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>You must select at least one item to backup.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Back Up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Backed up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quick Backup</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Lock</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Locked</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unlock</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unlocked</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Trash</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Trashed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quick Trash</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>main preferences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restore</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restored</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the computer that has the backup is not in the list</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the backup could not be fetched from %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restoring backup on %1...</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SettlekeepView</name>
    <message>
        <source>Settlekeep</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Back up, restore, lock and trash application preferences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Back Up…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keeps a copy of the ticked preferences on every selected computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quick Backup…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keeps a copy of the main preferences of all applications,
whatever is ticked</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Lock</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Protects the files of the ticked preferences against every change.
Locked preferences can be neither restored nor trashed until they are unlocked.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unlock</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Lets applications change the ticked preferences again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Trash</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Moves the ticked preferences to the trash of each selected computer, at once.
Applications make new ones when they are opened.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quick Trash</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Moves the main preferences of all applications to the trash, at once,
whatever is ticked</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tick All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Untick All</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>StatusPanel</name>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop Waiting</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Give up on the computers that have not answered yet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Details</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show what became of it on each computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Retry Failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Do it again on the computers where it was not done</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Undo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Take it back on the computers where it was done</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Progress</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open the error log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Run on the Rest</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>TargetsView</name>
    <message>
        <source>No computer selected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The computers that this tool works on</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 hidden by the search</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 left out by actions on all</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> – not connected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> – hidden by the search</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>… and %1 more</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>TaskThreads</name>
    <message>
        <source>Processing tasks on %i computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Processing tasks on %i computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%i computer selected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%i computers selected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Initializing...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Canceling...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Processing task %i of %i</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ToolController</name>
    <message>
        <source>Refresh</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Read</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not all of it was done there</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>it gave no answer, so it was left alone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Undo “%1”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Took back “%1”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>it could not be taken back</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ToolList</name>
    <message>
        <source>Tools</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ToolPane</name>
    <message>
        <source>%1 and %2 more</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 and %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 is left out.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 are left out.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The computers that gave no answer, and why</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Differences Only</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No answer from %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computers that gave no answer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select one or more in the list on the left, or All Computers.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The selected computer is not connected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The selected computers are not connected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The selected computer did not answer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The selected computers did not answer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The error log says why. Choose Refresh to ask again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose Refresh to read them from the selected computers.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable All %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable all %1 on 1 computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable all %1 on %2 computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disable All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disable All %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disable all %1 on 1 computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disable all %1 on %2 computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1,
also the %2 that the filter hides</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The filter does not narrow this: %1 that is not shown are changed as well.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The filter does not narrow this: %1 that are not shown are changed as well.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1?</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ToolPanes</name>
    <message>
        <source>This tool is not part of this version yet.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 will work here on the computers selected at the left.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ToolRegistry</name>
    <message>
        <source>Faultscope</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Collect, analyse and submit crash logs</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Varispot</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Compare working machines with failing ones</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tidyhand</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Clean caches and clutter</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Purgewright</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove applications with everything that belongs to them</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Qmaster</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Control render sharing and jobs</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Encodemend</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Find and repair encoder problems</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Snapmend</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Fix common faults with one click</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Routemark</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Edit and synchronise media and scratch paths</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hostbench</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Trash caches and set up applications</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Corvalin Applications</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Launch and quit the applications of the suite</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Final Cut Studio</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Launch, quit and force-quit the editing applications</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Client Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change the settings of the agents</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>TroubleshooterWindow</name>
    <message>
        <source>Connecting…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>port %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection Troubleshooter</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All computers are connected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A computer that cannot be reached, or that something is wrong with, is listed here with what can be done about it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Failing computers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy Details</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy everything shown about this computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show the console&apos;s own log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Review New Identity…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Compare the new key with the one the computer was known by</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Test Port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Try whether the computer&apos;s port takes connections</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Retry</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connect to the computer anew</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>
Port test:
</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>VLAlert</name>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>WelcomeSheet</name>
    <message>
        <source>Welcome to Orlendo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computers appear by themselves</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Every workstation on the network that runs the client agent is listed at the left. Add others by their address with Add Computer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select what to work on</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>One computer, several, or All Computers. What you do then happens on each of them.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose a tool</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Its results from all selected computers are merged into one list that shows where they differ.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Get Started</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>

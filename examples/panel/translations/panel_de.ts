<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>QGuiApplication</name>
    <message>
        <source>QT_LAYOUT_DIRECTION</source>
        <translation>LTR</translation>
    </message>
</context>
<context>
    <name>advice</name>
    <message>
        <source>no reply in time</source>
        <translation>keine Antwort in der vorgesehenen Zeit</translation>
    </message>
    <message>
        <source>the service has ended</source>
        <translation>der Dienst wurde beendet</translation>
    </message>
    <message>
        <source>no service on the bus</source>
        <translation>kein Dienst am Bus</translation>
    </message>
    <message>
        <source>the bus cannot be reached</source>
        <translation>der Bus ist nicht erreichbar</translation>
    </message>
    <message>
        <source>no VM has this number; 0 is never a VM</source>
        <translation>keine VM hat diese Nummer; 0 ist nie eine VM</translation>
    </message>
    <message>
        <source>choose a VM that the service knows</source>
        <translation>wählen Sie eine VM, die der Dienst kennt</translation>
    </message>
    <message>
        <source>the VM is not attached</source>
        <translation>die VM ist nicht verbunden</translation>
    </message>
    <message>
        <source>connect the VM first</source>
        <translation>verbinden Sie zuerst die VM</translation>
    </message>
    <message>
        <source>no pipe of the VM has this handle</source>
        <translation>keine Pipe der VM hat diese Kennung</translation>
    </message>
    <message>
        <source>see the service&apos;s log</source>
        <translation>sehen Sie im Protokoll des Dienstes nach</translation>
    </message>
    <message>
        <source>the VM has a pipe with this handle</source>
        <translation>die VM hat schon eine Pipe mit dieser Kennung</translation>
    </message>
    <message>
        <source>a drive token has at least one byte</source>
        <translation>ein Laufwerks-Token hat mindestens ein Byte</translation>
    </message>
    <message>
        <source>no device has this number, source id or text</source>
        <translation>kein Gerät hat diese Nummer, Quellkennung oder diesen Text</translation>
    </message>
    <message>
        <source>check that it is plugged in</source>
        <translation>prüfen Sie, ob es eingesteckt ist</translation>
    </message>
    <message>
        <source>the device is attached, to another VM or at all</source>
        <translation>das Gerät ist schon verbunden, vielleicht mit einer anderen VM</translation>
    </message>
    <message>
        <source>detach it from the other VM first</source>
        <translation>trennen Sie es zuerst von der anderen VM</translation>
    </message>
    <message>
        <source>the device is not attached to this VM</source>
        <translation>das Gerät ist nicht mit dieser VM verbunden</translation>
    </message>
    <message>
        <source>read the list again</source>
        <translation>lesen Sie die Liste neu ein</translation>
    </message>
    <message>
        <source>by the policy of the device, or by the user</source>
        <translation>durch die Richtlinie des Geräts oder den Benutzer</translation>
    </message>
    <message>
        <source>change its policy, or allow it on this machine</source>
        <translation>ändern Sie die Richtlinie, oder erlauben Sie es auf diesem Rechner</translation>
    </message>
    <message>
        <source>no command has this name or number</source>
        <translation>kein Befehl hat diesen Namen oder diese Nummer</translation>
    </message>
    <message>
        <source>the device has nothing to mount</source>
        <translation>das Gerät hat nichts zum Einhängen</translation>
    </message>
    <message>
        <source>no printer has this number, source id, name or address</source>
        <translation>kein Drucker hat diese Nummer, Quellkennung, diesen Namen oder diese Adresse</translation>
    </message>
    <message>
        <source>the name is in use</source>
        <translation>der Name ist vergeben</translation>
    </message>
    <message>
        <source>a name, an address or another text is empty</source>
        <translation>ein Name, eine Adresse oder ein anderer Text ist leer</translation>
    </message>
    <message>
        <source>not an IPv4 address</source>
        <translation>keine IPv4-Adresse</translation>
    </message>
    <message>
        <source>the search was stopped before its end</source>
        <translation>die Suche wurde vor ihrem Ende abgebrochen</translation>
    </message>
    <message>
        <source>no search is running</source>
        <translation>es läuft keine Suche</translation>
    </message>
    <message>
        <source>no printer driver has this name, or none fits</source>
        <translation>kein Druckertreiber hat diesen Namen, oder keiner passt</translation>
    </message>
    <message>
        <source>no joystick is at this position</source>
        <translation>an dieser Stelle ist kein Joystick</translation>
    </message>
    <message>
        <source>no mapping is at this position</source>
        <translation>an dieser Stelle ist keine Belegung</translation>
    </message>
    <message>
        <source>this subscriber is not registered</source>
        <translation>dieser Empfänger ist nicht angemeldet</translation>
    </message>
    <message>
        <source>no self-test has this number</source>
        <translation>kein Selbsttest hat diese Nummer</translation>
    </message>
    <message>
        <source>only figures of type 1 have a value</source>
        <translation>nur Angaben der Art 1 haben einen Wert</translation>
    </message>
    <message>
        <source>all numbers are in use</source>
        <translation>alle Nummern sind vergeben</translation>
    </message>
    <message>
        <source>start it, or set QXBUS_ADDRESS to the address of another</source>
        <translation>starten Sie ihn, oder setzen Sie QXBUS_ADDRESS auf die Adresse eines anderen</translation>
    </message>
    <message>
        <source>start velserviced, or velsim to try without hardware</source>
        <translation>starten Sie velserviced, oder velsim für einen Versuch ohne Geräte</translation>
    </message>
    <message>
        <source>try again; if the service hangs, end it and start it</source>
        <translation>versuchen Sie es noch einmal; hängt der Dienst, beenden Sie ihn und starten ihn neu</translation>
    </message>
    <message>
        <source>end other programs, and try again</source>
        <translation>beenden Sie andere Programme, und versuchen Sie es noch einmal</translation>
    </message>
</context>
<context>
    <name>panel</name>
    <message>
        <source>Attaches the devices and printers of this machine to VMs. QXBUS_ADDRESS names the bus of the service.</source>
        <translation>Verbindet Geräte und Drucker dieses Rechners mit VMs. QXBUS_ADDRESS nennt den Bus des Dienstes.</translation>
    </message>
    <message>
        <source>Write a picture of the window to this PNG file and exit; needs no display</source>
        <translation>Ein Bild des Fensters in diese PNG-Datei schreiben und enden; braucht keinen Bildschirm</translation>
    </message>
    <message>
        <source>the service refused: %1</source>
        <translation>der Dienst hat abgelehnt: %1</translation>
    </message>
    <message>
        <source>the service refused with status %1</source>
        <translation>der Dienst hat mit Status %1 abgelehnt</translation>
    </message>
    <message>
        <source>Begin with this page; the first is 1</source>
        <translation>Mit dieser Seite beginnen; die erste ist 1</translation>
    </message>
</context>
<context>
    <name>panel::Board</name>
    <message>
        <source>No device or printer matches.</source>
        <translation>Kein Gerät oder Drucker passt.</translation>
    </message>
</context>
<context>
    <name>panel::Card</name>
    <message>
        <source>Attached</source>
        <translation>Verbunden</translation>
    </message>
    <message>
        <source>Choose a VM to attach to</source>
        <translation>Wählen Sie eine VM zum Verbinden</translation>
    </message>
    <message>
        <source>Attach to %1</source>
        <translation>Mit %1 verbinden</translation>
    </message>
    <message>
        <source>Detach %1 from %2</source>
        <translation>%1 von %2 trennen</translation>
    </message>
    <message>
        <source>Attach %1 to %2</source>
        <translation>%1 mit %2 verbinden</translation>
    </message>
    <message>
        <source>Working</source>
        <translation>In Arbeit</translation>
    </message>
    <message>
        <source>%1, %2</source>
        <translation>%1, %2</translation>
    </message>
</context>
<context>
    <name>panel::Diagnosis</name>
    <message>
        <source>The service has not come to a result.</source>
        <translation>Der Dienst ist zu keinem Ergebnis gekommen.</translation>
    </message>
    <message>
        <source>Diagnose again, or see the service&apos;s log.</source>
        <translation>Wiederholen Sie die Diagnose, oder sehen Sie im Protokoll des Dienstes nach.</translation>
    </message>
    <message>
        <source>The device is in no VM.</source>
        <translation>Das Gerät ist in keiner VM.</translation>
    </message>
    <message>
        <source>Attach it to a VM, or choose one.</source>
        <translation>Verbinden Sie es mit einer VM, oder wählen Sie eine aus.</translation>
    </message>
</context>
<context>
    <name>panel::DiagnosisDialog</name>
    <message>
        <source>Diagnosis of %1</source>
        <translation>Diagnose von %1</translation>
    </message>
    <message>
        <source>Diagnosis of %1 in %2</source>
        <translation>Diagnose von %1 in %2</translation>
    </message>
    <message>
        <source>Progress of the diagnosis</source>
        <translation>Fortschritt der Diagnose</translation>
    </message>
    <message>
        <source>&amp;Diagnose again</source>
        <translation>&amp;Diagnose wiederholen</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>&amp;Schließen</translation>
    </message>
    <message>
        <source>The service has found no trouble.</source>
        <translation>Der Dienst hat keinen Fehler gefunden.</translation>
    </message>
    <message>
        <source>The service has found trouble: %1.</source>
        <translation>Der Dienst hat einen Fehler gefunden: %1.</translation>
    </message>
    <message>
        <source>The diagnosis has ended with status %1.</source>
        <translation>Die Diagnose endete mit dem Status %1.</translation>
    </message>
</context>
<context>
    <name>panel::JoystickCard</name>
    <message>
        <source>Calibrate</source>
        <translation>Kalibrieren</translation>
    </message>
    <message>
        <source>Mapping</source>
        <translation>Belegung</translation>
    </message>
    <message>
        <source>Mapping %1</source>
        <translation>Belegung %1</translation>
    </message>
    <message>
        <source>Joystick %1</source>
        <translation>Joystick %1</translation>
    </message>
    <message>
        <source>Calibrated</source>
        <translation>Kalibriert</translation>
    </message>
    <message>
        <source>Not calibrated</source>
        <translation>Nicht kalibriert</translation>
    </message>
    <message>
        <source>Mapping of %1</source>
        <translation>Belegung von %1</translation>
    </message>
    <message>
        <source>Calibrate %1</source>
        <translation>%1 kalibrieren</translation>
    </message>
    <message>
        <source>Working</source>
        <translation>In Arbeit</translation>
    </message>
</context>
<context>
    <name>panel::JoysticksPage</name>
    <message>
        <source>This machine has no joystick.</source>
        <translation>Dieser Rechner hat keinen Joystick.</translation>
    </message>
</context>
<context>
    <name>panel::Mistakes</name>
    <message>
        <source>An address has no blanks.</source>
        <translation>Eine Adresse hat keine Leerzeichen.</translation>
    </message>
    <message>
        <source>“%1” does not belong into an address: numbers such as 10.0.0.7 do, names do not.</source>
        <translation>„%1“ gehört nicht in eine Adresse: Sie besteht aus Zahlen wie 10.0.0.7, nicht aus Namen.</translation>
    </message>
    <message>
        <source>%1 begins with 0.</source>
        <translation>%1 beginnt mit 0.</translation>
    </message>
    <message>
        <source>%1 is more than %2.</source>
        <translation>%1 ist mehr als %2.</translation>
    </message>
    <message>
        <source>An address has four numbers with dots between them, such as 10.0.0.7.</source>
        <translation>Eine Adresse hat vier Zahlen mit Punkten dazwischen, wie 10.0.0.7.</translation>
    </message>
    <message>
        <source>Type an address such as 10.0.0.7, or 10.0.0.7:631 with a port.</source>
        <translation>Geben Sie eine Adresse wie 10.0.0.7 ein, mit Port 10.0.0.7:631.</translation>
    </message>
    <message>
        <source>This is no address such as 10.0.0.7, or 10.0.0.7:631 with a port.</source>
        <translation>Das ist keine Adresse wie 10.0.0.7, oder mit Port 10.0.0.7:631.</translation>
    </message>
</context>
<context>
    <name>panel::MoreButton</name>
    <message>
        <source>More</source>
        <translation>Mehr</translation>
    </message>
    <message>
        <source>&amp;No policy</source>
        <translation>&amp;Keine Richtlinie</translation>
    </message>
    <message>
        <source>May be &amp;attached</source>
        <translation>&amp;Darf verbunden werden</translation>
    </message>
    <message>
        <source>Must not be a&amp;ttached</source>
        <translation>Darf &amp;nicht verbunden werden</translation>
    </message>
    <message>
        <source>More for %1</source>
        <translation>Mehr zu %1</translation>
    </message>
    <message>
        <source>Attach &amp;each of its kind when it is plugged in: %1</source>
        <translation>&amp;Jedes dieser Art beim Einstecken verbinden: %1</translation>
    </message>
    <message>
        <source>&amp;Diagnose…</source>
        <translation>&amp;Diagnose …</translation>
    </message>
    <message>
        <source>Check whether cameras may &amp;be used</source>
        <translation>Prüfen, ob &amp;Kameras benutzt werden dürfen</translation>
    </message>
    <message>
        <source>T&amp;urbo configuration…</source>
        <translation>&amp;Turbo-Einstellung …</translation>
    </message>
</context>
<context>
    <name>panel::NetworkPrintersBox</name>
    <message>
        <source>Address of the network printer</source>
        <translation>Adresse des Netzwerkdruckers</translation>
    </message>
    <message>
        <source>Network printers</source>
        <translation>Netzwerkdrucker</translation>
    </message>
    <message>
        <source>Add t&amp;he printer</source>
        <translation>Drucker &amp;hinzufügen</translation>
    </message>
    <message>
        <source>Re&amp;move</source>
        <translation>&amp;Entfernen</translation>
    </message>
    <message>
        <source>The service chooses one</source>
        <translation>Der Dienst wählt einen</translation>
    </message>
    <message>
        <source>Addr&amp;ess</source>
        <translation>Ad&amp;resse</translation>
    </message>
    <message>
        <source>&amp;Name</source>
        <translation>&amp;Name</translation>
    </message>
    <message>
        <source>%1, %2</source>
        <translation>%1, %2</translation>
    </message>
</context>
<context>
    <name>panel::NewDeviceCard</name>
    <message>
        <source>Al&amp;ways attach</source>
        <translation>&amp;Immer verbinden</translation>
    </message>
    <message>
        <source>&amp;Ignore</source>
        <translation>Ign&amp;orieren</translation>
    </message>
    <message>
        <source>Progress of the new device</source>
        <translation>Fortschritt des neuen Geräts</translation>
    </message>
    <message>
        <source>New device: %1 (%2). What should happen with it?</source>
        <translation>Neues Gerät: %1 (%2). Was soll damit geschehen?</translation>
    </message>
    <message>
        <source>&amp;Attach</source>
        <translation>Ver&amp;binden</translation>
    </message>
    <message>
        <source>&amp;Attach to %1</source>
        <translation>Mit %1 ver&amp;binden</translation>
    </message>
    <message>
        <source>Also waiting: %1</source>
        <translation>Außerdem warten: %1</translation>
    </message>
    <message>
        <source>Attach %1 to %2</source>
        <translation>%1 mit %2 verbinden</translation>
    </message>
    <message>
        <source>Attach %1 to %2, and each of its kind later: %3</source>
        <translation>%1 mit %2 verbinden, und später jedes dieser Art: %3</translation>
    </message>
    <message>
        <source>Ignore %1</source>
        <translation>%1 ignorieren</translation>
    </message>
</context>
<context>
    <name>panel::Notifications</name>
    <message>
        <source>%1 was plugged in</source>
        <translation>%1 wurde eingesteckt</translation>
    </message>
    <message>
        <source>%1 was unplugged</source>
        <translation>%1 wurde ausgesteckt</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>Further changes: %1</source>
        <translation>Weitere Änderungen: %1</translation>
    </message>
    <message>
        <source>Devices and printers</source>
        <translation>Geräte und Drucker</translation>
    </message>
</context>
<context>
    <name>panel::OperationStatus</name>
    <message>
        <source>Progress of %1</source>
        <translation>Fortschritt von %1</translation>
    </message>
</context>
<context>
    <name>panel::Pages</name>
    <message>
        <source>Pages</source>
        <translation>Seiten</translation>
    </message>
</context>
<context>
    <name>panel::PenPage</name>
    <message>
        <source>Sheet to draw on</source>
        <translation>Blatt zum Zeichnen</translation>
    </message>
    <message>
        <source>D&amp;raw a sample</source>
        <translation>P&amp;robe zeichnen</translation>
    </message>
    <message>
        <source>&amp;Clear</source>
        <translation>&amp;Leeren</translation>
    </message>
    <message>
        <source>Frames that were sent</source>
        <translation>Gesendete Pakete</translation>
    </message>
    <message>
        <source>Pressure %1 %, tilt %2°, %3°</source>
        <translation>Druck %1 %, Neigung %2°, %3°</translation>
    </message>
    <message>
        <source>Draw with a pen, or with the mouse</source>
        <translation>Zeichnen Sie mit dem Stift oder der Maus</translation>
    </message>
    <message>
        <source>%1 frames sent for %2 events</source>
        <translation>%1 Pakete gesendet für %2 Ereignisse</translation>
    </message>
</context>
<context>
    <name>panel::Plot</name>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
</context>
<context>
    <name>panel::PrintQueuesBox</name>
    <message>
        <source>Print queues</source>
        <translation>Druckerwarteschlangen</translation>
    </message>
    <message>
        <source>Driver of the print queue</source>
        <translation>Treiber der Warteschlange</translation>
    </message>
    <message>
        <source>Print a test pa&amp;ge</source>
        <translation>Testseite druc&amp;ken</translation>
    </message>
    <message>
        <source>Remove the &amp;queue</source>
        <translation>&amp;Warteschlange entfernen</translation>
    </message>
    <message>
        <source>Driver</source>
        <translation>Treiber</translation>
    </message>
    <message>
        <source>%1, shared at %2</source>
        <translation>%1, freigegeben unter %2</translation>
    </message>
    <message>
        <source>%1, %2</source>
        <translation>%1, %2</translation>
    </message>
</context>
<context>
    <name>panel::QualityPage</name>
    <message>
        <source>Choose a VM to see its bandwidth</source>
        <translation>Wählen Sie eine VM, um ihre Bandbreite zu sehen</translation>
    </message>
    <message>
        <source>Bandwidth of %1, as its clients report it</source>
        <translation>Bandbreite von %1, wie ihre Klienten sie melden</translation>
    </message>
    <message>
        <source>No client has reported yet.</source>
        <translation>Noch hat kein Klient etwas gemeldet.</translation>
    </message>
    <message>
        <source>First figure</source>
        <translation>Erster Wert</translation>
    </message>
    <message>
        <source>Second figure</source>
        <translation>Zweiter Wert</translation>
    </message>
</context>
<context>
    <name>panel::SharedPrintersBox</name>
    <message>
        <source>Address of the machine that shares printers</source>
        <translation>Adresse des Rechners, der Drucker freigibt</translation>
    </message>
    <message>
        <source>Printers of other machines</source>
        <translation>Drucker anderer Rechner</translation>
    </message>
    <message>
        <source>&amp;Search</source>
        <translation>Su&amp;chen</translation>
    </message>
    <message>
        <source>St&amp;op</source>
        <translation>Anha&amp;lten</translation>
    </message>
    <message>
        <source>Add the mar&amp;ked ones</source>
        <translation>&amp;Markierte hinzufügen</translation>
    </message>
    <message>
        <source>Progress of the search</source>
        <translation>Fortschritt der Suche</translation>
    </message>
    <message>
        <source>Shared printers that were found</source>
        <translation>Gefundene freigegebene Drucker</translation>
    </message>
    <message>
        <source>Add&amp;ress</source>
        <translation>A&amp;dresse</translation>
    </message>
    <message>
        <source>The search was stopped.</source>
        <translation>Die Suche wurde angehalten.</translation>
    </message>
    <message>
        <source>No printer is shared there.</source>
        <translation>Dort ist kein Drucker freigegeben.</translation>
    </message>
    <message>
        <source>%1, %2</source>
        <translation>%1, %2</translation>
    </message>
</context>
<context>
    <name>panel::Thing</name>
    <message>
        <source>Printer</source>
        <translation>Drucker</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Speicher</translation>
    </message>
    <message>
        <source>Camera</source>
        <translation>Kamera</translation>
    </message>
    <message>
        <source>Tablet</source>
        <translation>Tablett</translation>
    </message>
    <message>
        <source>USB printer</source>
        <translation>USB-Drucker</translation>
    </message>
    <message>
        <source>USB device</source>
        <translation>USB-Gerät</translation>
    </message>
    <message>
        <source>Network device</source>
        <translation>Netzwerkgerät</translation>
    </message>
    <message>
        <source>Network printer</source>
        <translation>Netzwerkdrucker</translation>
    </message>
    <message>
        <source>Device</source>
        <translation>Gerät</translation>
    </message>
    <message>
        <source>Gone</source>
        <translation>Entfernt</translation>
    </message>
    <message>
        <source>On this machine, must not be attached</source>
        <translation>An diesem Rechner, darf nicht verbunden werden</translation>
    </message>
    <message>
        <source>On this machine</source>
        <translation>An diesem Rechner</translation>
    </message>
    <message>
        <source>Attached to a VM</source>
        <translation>Mit einer VM verbunden</translation>
    </message>
    <message>
        <source>Attached to %1</source>
        <translation>Mit %1 verbunden</translation>
    </message>
    <message>
        <source>Ignored</source>
        <translation>Ignoriert</translation>
    </message>
    <message>
        <source>Out of paper</source>
        <translation>Kein Papier</translation>
    </message>
    <message>
        <source>Paper jam</source>
        <translation>Papierstau</translation>
    </message>
    <message>
        <source>Out of ink</source>
        <translation>Keine Tinte</translation>
    </message>
    <message>
        <source>Offline</source>
        <translation>Nicht erreichbar</translation>
    </message>
    <message>
        <source>State %1</source>
        <translation>Zustand %1</translation>
    </message>
</context>
<context>
    <name>panel::ThingsModel</name>
    <message>
        <source>Cameras must not be used on this machine.</source>
        <translation>Kameras dürfen auf diesem Rechner nicht benutzt werden.</translation>
    </message>
    <message>
        <source>Allow them in the privacy settings of the system.</source>
        <translation>Erlauben Sie sie in den Datenschutzeinstellungen des Systems.</translation>
    </message>
    <message>
        <source>The service has no camera.</source>
        <translation>Der Dienst hat keine Kamera.</translation>
    </message>
    <message>
        <source>Check that it is plugged in.</source>
        <translation>Prüfen Sie, ob sie angeschlossen ist.</translation>
    </message>
    <message>
        <source>The service answered with camera status %1.</source>
        <translation>Der Dienst antwortete mit dem Kamerastatus %1.</translation>
    </message>
    <message>
        <source>See the service&apos;s log.</source>
        <translation>Sehen Sie im Protokoll des Dienstes nach.</translation>
    </message>
    <message>
        <source>Cameras may be used.</source>
        <translation>Kameras dürfen benutzt werden.</translation>
    </message>
</context>
<context>
    <name>panel::ThingsPage</name>
    <message>
        <source>Search by name, kind or VM</source>
        <translation>Nach Name, Art oder VM suchen</translation>
    </message>
    <message>
        <source>Search devices and printers</source>
        <translation>Geräte und Drucker suchen</translation>
    </message>
    <message>
        <source>Show</source>
        <translation>Anzeigen</translation>
    </message>
    <message>
        <source>Everything</source>
        <translation>Alles</translation>
    </message>
    <message>
        <source>Devices</source>
        <translation>Geräte</translation>
    </message>
    <message>
        <source>Printers</source>
        <translation>Drucker</translation>
    </message>
    <message>
        <source>Attached</source>
        <translation>Verbunden</translation>
    </message>
    <message>
        <source>Not attached</source>
        <translation>Nicht verbunden</translation>
    </message>
    <message>
        <source>%1 of %2 shown, %3 attached</source>
        <translation>%1 von %2 gezeigt, %3 verbunden</translation>
    </message>
</context>
<context>
    <name>panel::Tray</name>
    <message>
        <source>&amp;Show window</source>
        <translation>Fenster &amp;zeigen</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>%1 of %2 attached</source>
        <translation>%1 von %2 verbunden</translation>
    </message>
    <message>
        <source>The service is not available</source>
        <translation>Der Dienst ist nicht erreichbar</translation>
    </message>
</context>
<context>
    <name>panel::TurboDialog</name>
    <message>
        <source>Turbo configuration of %1</source>
        <translation>Turbo-Einstellung von %1</translation>
    </message>
    <message>
        <source>&amp;Configuration, in the service&apos;s words</source>
        <translation>Ei&amp;nstellung, in den Worten des Dienstes</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Speichern</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>The text is more than a line: it would be damaged here.</source>
        <translation>Der Text ist mehr als eine Zeile: er würde hier beschädigt.</translation>
    </message>
    <message>
        <source>Change it with velctl turbo set.</source>
        <translation>Ändern Sie ihn mit velctl turbo set.</translation>
    </message>
</context>
<context>
    <name>panel::VmList</name>
    <message>
        <source>VMs</source>
        <translation>VMs</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
</context>
<context>
    <name>panel::Window</name>
    <message>
        <source>Devices and printers</source>
        <translation>Geräte und Drucker</translation>
    </message>
    <message>
        <source>&amp;Try now</source>
        <translation>Jetzt &amp;versuchen</translation>
    </message>
    <message>
        <source>&amp;VMs</source>
        <translation>&amp;VMs</translation>
    </message>
    <message>
        <source>Connecting to the service…</source>
        <translation>Verbindung zum Dienst wird hergestellt…</translation>
    </message>
    <message>
        <source>&amp;Devices and printers</source>
        <translation>&amp;Geräte und Drucker</translation>
    </message>
    <message>
        <source>&amp;Joysticks</source>
        <translation>&amp;Joysticks</translation>
    </message>
    <message>
        <source>&amp;Pen</source>
        <translation>&amp;Stift</translation>
    </message>
    <message>
        <source>Qua&amp;lity</source>
        <translation>Quali&amp;tät</translation>
    </message>
    <message>
        <source>Prin&amp;ting</source>
        <translation>Dr&amp;ucken</translation>
    </message>
</context>
<context>
    <name>pencanvas</name>
    <message>
        <source>Request</source>
        <translation>Anfrage</translation>
    </message>
    <message>
        <source>Device</source>
        <translation>Gerät</translation>
    </message>
    <message>
        <source>x</source>
        <translation>x</translation>
    </message>
    <message>
        <source>y</source>
        <translation>y</translation>
    </message>
    <message>
        <source>Pressure</source>
        <translation>Druck</translation>
    </message>
    <message>
        <source>Tilt</source>
        <translation>Neigung</translation>
    </message>
    <message>
        <source>Rotation</source>
        <translation>Drehung</translation>
    </message>
    <message>
        <source>Pointer flags</source>
        <translation>Zeiger-Merkmale</translation>
    </message>
</context>
</TS>

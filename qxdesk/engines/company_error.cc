#include "qxdesk/engines/company_error.h"

#include "qxframework/automation/text.h"

#include <array>

namespace qx::desk {

namespace {

struct Row {
  std::u16string_view english;
  std::u16string_view german;
  std::u16string_view spanish;
};

constexpr std::size_t kTextCount = static_cast<std::size_t>(Text::End);

// In the order of Text. A sentence that is missing in a language is told in English.
constexpr std::array<Row, kTextCount> kRows{{
    {u"%1", u"%1", u"%1"},
    {u"The company is not connected. Call Connect first.",
     u"Die Firma ist nicht verbunden. Rufen Sie zuerst Connect auf.",
     u"La sociedad no está conectada. Llame primero a Connect."},
    {u"The company is connected already. Call Disconnect first.",
     u"Die Firma ist bereits verbunden. Rufen Sie zuerst Disconnect auf.",
     u"La sociedad ya está conectada. Llame primero a Disconnect."},
    {u"There is no company to connect to. Attach this object to the running client with "
     u"PutUiApplication, or give the client's answer to GetContextCookie to PutLoginContext.",
     u"Es ist keine Firma zum Verbinden bekannt. Verknüpfen Sie das Objekt mit PutUiApplication "
     u"mit "
     u"dem laufenden Client, oder übergeben Sie dessen Antwort auf GetContextCookie an "
     u"PutLoginContext.",
     u"No hay ninguna sociedad a la que conectarse. Asocie el objeto al cliente en ejecución con "
     u"PutUiApplication, o entregue la respuesta del cliente a GetContextCookie a "
     u"PutLoginContext."},
    {u"The application that was given does not tell its company. Give the application object of "
     u"the running client.",
     u"Die übergebene Anwendung nennt ihre Firma nicht. Übergeben Sie das Anwendungsobjekt des "
     u"laufenden Clients.",
     u"La aplicación indicada no comunica su sociedad. Indique el objeto de aplicación del cliente "
     u"en ejecución."},
    {u"The client did not tell its company (%1). Check that a company is open in it.",
     u"Der Client hat seine Firma nicht genannt (%1). Prüfen Sie, ob dort eine Firma geöffnet ist.",
     u"El cliente no comunicó su sociedad (%1). Compruebe que tenga una sociedad abierta."},
    {u"The login context does not answer the cookie of this object, or was used before. Call "
     u"GetContextCookie and ask the client again.",
     u"Der Anmeldekontext passt nicht zum Cookie dieses Objekts oder wurde schon benutzt. Rufen "
     u"Sie "
     u"GetContextCookie auf und fragen Sie den Client erneut.",
     u"El contexto de conexión no responde a la cookie de este objeto o ya fue usado. Llame a "
     u"GetContextCookie y pregunte de nuevo al cliente."},
    {u"The folder of the company database '%1' does not exist.",
     u"Der Ordner der Firmendatenbank '%1' existiert nicht.",
     u"La carpeta de la base de datos '%1' no existe."},
    {u"There is no permission to open the company database '%1'.",
     u"Es fehlt die Berechtigung, die Firmendatenbank '%1' zu öffnen.",
     u"No hay permiso para abrir la base de datos '%1'."},
    {u"The company database '%1' is a folder; a file is needed.",
     u"Die Firmendatenbank '%1' ist ein Ordner; gebraucht wird eine Datei.",
     u"La base de datos '%1' es una carpeta; se necesita un archivo."},
    {u"'%1' is not a database.", u"'%1' ist keine Datenbank.", u"'%1' no es una base de datos."},
    {u"The database '%1' has tables, but no company in it.",
     u"Die Datenbank '%1' enthält Tabellen, aber keine Firma.",
     u"La base de datos '%1' tiene tablas, pero ninguna sociedad."},
    {u"The company database '%1' was written by a newer version of this component.",
     u"Die Firmendatenbank '%1' stammt von einer neueren Version dieser Komponente.",
     u"La base de datos '%1' fue escrita por una versión más nueva de este componente."},
    {u"The company database '%1' cannot be opened: %2.",
     u"Die Firmendatenbank '%1' lässt sich nicht öffnen: %2.",
     u"No se puede abrir la base de datos '%1': %2."},
    {u"The company database is locked by another program. Try again when it has finished.",
     u"Die Firmendatenbank ist durch ein anderes Programm gesperrt. Versuchen Sie es erneut, wenn "
     u"es "
     u"fertig ist.",
     u"La base de datos está bloqueada por otro programa. Vuelva a intentarlo cuando termine."},
    {u"The company database can only be read; there is no permission to write to it.",
     u"Die Firmendatenbank kann nur gelesen werden; die Berechtigung zum Schreiben fehlt.",
     u"La base de datos es de solo lectura; no hay permiso para escribir en ella."},
    {u"The company database is damaged (%1). Restore it from a backup.",
     u"Die Firmendatenbank ist beschädigt (%1). Stellen Sie sie aus einer Sicherung wieder her.",
     u"La base de datos está dañada (%1). Restáurela de una copia de seguridad."},
    {u"The disk of the company database is full.", u"Der Datenträger der Firmendatenbank ist voll.",
     u"El disco de la base de datos está lleno."},
    {u"Reading or writing the company database failed (%1).",
     u"Lesen oder Schreiben der Firmendatenbank ist fehlgeschlagen (%1).",
     u"Falló la lectura o escritura de la base de datos (%1)."},
    {u"The company database '%1' was moved or deleted while it was open. Connect again.",
     u"Die Firmendatenbank '%1' wurde im geöffneten Zustand verschoben oder gelöscht. Verbinden "
     u"Sie "
     u"sich neu.",
     u"La base de datos '%1' fue movida o borrada mientras estaba abierta. Conéctese de nuevo."},
    {u"The connection to the database server was lost (%1). What was not committed is not kept. "
     u"Connect again.",
     u"Die Verbindung zum Datenbankserver ist abgebrochen (%1). Was nicht bestätigt war, bleibt "
     u"nicht erhalten. Verbinden Sie sich neu.",
     u"Se perdió la conexión con el servidor de base de datos (%1). Lo que no estaba confirmado no "
     u"se conserva. Conéctese de nuevo."},
    {u"The connection to the database server was lost during the commit (%1). Connect again and "
     u"look whether the changes were kept.",
     u"Die Verbindung zum Datenbankserver ist während der Bestätigung abgebrochen (%1). Verbinden "
     u"Sie sich neu und prüfen Sie, ob die Änderungen erhalten sind.",
     u"Se perdió la conexión con el servidor de base de datos durante la confirmación (%1). "
     u"Conéctese de nuevo y compruebe si se conservaron los cambios."},
    {u"The database has ended the transaction in favour of another program's (%1); nothing of it "
     u"was kept. Try again.",
     u"Die Datenbank hat die Transaktion zugunsten eines anderen Programms beendet (%1); nichts "
     u"davon blieb erhalten. Versuchen Sie es erneut.",
     u"La base de datos terminó la transacción en favor de otro programa (%1); no se conservó nada "
     u"de ella. Vuelva a intentarlo."},
    {u"An earlier statement of the transaction failed, and the database takes no more of it (%1). "
     u"It was rolled back; nothing of it was kept. Start the transaction again from its "
     u"beginning.",
     u"Eine frühere Anweisung der Transaktion ist fehlgeschlagen, und die Datenbank nimmt nichts "
     u"weiter darin an (%1). Sie wurde zurückgenommen; nichts davon blieb erhalten. Beginnen Sie "
     u"die Transaktion von vorn.",
     u"Una instrucción anterior de la transacción falló y la base de datos no admite nada más en "
     u"ella (%1). Se deshizo; no se conservó nada de ella. Vuelva a empezar la transacción desde "
     u"el principio."},
    {u"The statement was stopped before its end, by its time limit or by an administrator (%1). "
     u"Try again; if it happens again, ask for fewer rows at a time or have the limit raised.",
     u"Die Anweisung wurde vor ihrem Ende abgebrochen, durch ihr Zeitlimit oder einen "
     u"Administrator (%1). Versuchen Sie es erneut; geschieht es wieder, fragen Sie weniger Zeilen "
     u"auf einmal ab oder lassen Sie das Limit erhöhen.",
     u"La instrucción se detuvo antes de terminar, por su límite de tiempo o por un administrador "
     u"(%1). Vuelva a intentarlo; si ocurre de nuevo, pida menos filas a la vez o haga que se "
     u"aumente el límite."},
    {u"The user of the database has no right to do this (%1). Ask its administrator for the right, "
     u"or connect as another user.",
     u"Dem Benutzer der Datenbank fehlt das Recht dazu (%1). Bitten Sie den Administrator darum, "
     u"oder verbinden Sie sich als anderer Benutzer.",
     u"El usuario de la base de datos no tiene derecho a hacer esto (%1). Pida el permiso al "
     u"administrador o conéctese con otro usuario."},
    {u"A text is not the number or the date that its place needs (%1). Correct the value.",
     u"Ein Text ist nicht die Zahl oder das Datum, das an seiner Stelle gebraucht wird (%1). "
     u"Berichtigen Sie den Wert.",
     u"Un texto no es el número o la fecha que se necesita en su lugar (%1). Corrija el valor."},
    {u"This database cannot change tables within a transaction (%1). End the transaction first.",
     u"Diese Datenbank kann Tabellen nicht innerhalb einer Transaktion ändern (%1). Beenden Sie "
     u"zuerst die Transaktion.",
     u"Esta base de datos no puede cambiar tablas dentro de una transacción (%1). Termine primero "
     u"la transacción."},
    {u"The database server refused the login (%1). Check the user and the password.",
     u"Der Datenbankserver hat die Anmeldung abgelehnt (%1). Prüfen Sie Benutzer und Kennwort.",
     u"El servidor de base de datos rechazó el inicio de sesión (%1). Compruebe el usuario y la "
     u"contraseña."},
    {u"There is no such ODBC driver or data source (%1). 'odbcinst -q -d' and 'odbcinst -q -s' "
     u"list "
     u"those that there are.",
     u"Es gibt keinen solchen ODBC-Treiber und keine solche Datenquelle (%1). 'odbcinst -q -d' und "
     u"'odbcinst -q -s' nennen die vorhandenen.",
     u"No existe ese controlador ODBC ni ese origen de datos (%1). 'odbcinst -q -d' y "
     u"'odbcinst -q -s' muestran los existentes."},
    {u"The database server cannot be reached (%1).",
     u"Der Datenbankserver ist nicht erreichbar (%1).",
     u"No se puede acceder al servidor de base de datos (%1)."},
    {u"The database server has no such database (%1).",
     u"Der Datenbankserver hat keine solche Datenbank (%1).",
     u"El servidor no tiene esa base de datos (%1)."},
    {u"The database server takes no more connections at present (%1).",
     u"Der Datenbankserver nimmt zurzeit keine weiteren Verbindungen an (%1).",
     u"El servidor de base de datos no admite más conexiones por ahora (%1)."},
    {u"A text is longer than its column (%1).", u"Ein Text ist länger als seine Spalte (%1).",
     u"Un texto es más largo que su columna (%1)."},
    {u"A number is out of range (%1).", u"Eine Zahl liegt außerhalb des Wertebereichs (%1).",
     u"Un número está fuera del intervalo permitido (%1)."},
    {u"A value is not a date (%1).", u"Ein Wert ist kein Datum (%1).",
     u"Un valor no es una fecha (%1)."},
    {u"A transaction is open already.", u"Eine Transaktion ist bereits offen.",
     u"Ya hay una transacción abierta."},
    {u"No transaction is open.", u"Es ist keine Transaktion offen.",
     u"No hay ninguna transacción abierta."},
    {u"The database has rolled the transaction back after a failure; nothing of it was kept.",
     u"Die Datenbank hat die Transaktion nach einem Fehler zurückgenommen; nichts davon blieb "
     u"erhalten.",
     u"La base de datos deshizo la transacción tras un fallo; no se conservó nada de ella."},
    {u"There is no business object with the number %1.",
     u"Es gibt kein Geschäftsobjekt mit der Nummer %1.",
     u"No existe ningún objeto de negocio con el número %1."},
    {u"The rows have no column '%1'.", u"Die Zeilen haben keine Spalte '%1'.",
     u"Las filas no tienen la columna '%1'."},
    {u"The table '%1' exists already.", u"Die Tabelle '%1' existiert bereits.",
     u"La tabla '%1' ya existe."},
    {u"There is no table '%1'.", u"Es gibt keine Tabelle '%1'.", u"No existe la tabla '%1'."},
    {u"The table needs a name.", u"Die Tabelle braucht einen Namen.",
     u"La tabla necesita un nombre."},
    {u"The table name '%1' is longer than %2 characters.",
     u"Der Tabellenname '%1' ist länger als %2 Zeichen.",
     u"El nombre de tabla '%1' tiene más de %2 caracteres."},
    {u"The name '%1' may hold letters A to Z, digits and underscores only.",
     u"Der Name '%1' darf nur Buchstaben A bis Z, Ziffern und Unterstriche enthalten.",
     u"El nombre '%1' solo puede contener letras de la A a la Z, cifras y guiones bajos."},
    {u"The description '%1' is longer than %2 characters.",
     u"Die Beschreibung '%1' ist länger als %2 Zeichen.",
     u"La descripción '%1' tiene más de %2 caracteres."},
    {u"There is no table type %1; the types are 0 to 4.",
     u"Es gibt keinen Tabellentyp %1; die Typen sind 0 bis 4.",
     u"No existe el tipo de tabla %1; los tipos son de 0 a 4."},
    {u"The field '%1' exists already in the table '%2'.",
     u"Das Feld '%1' existiert bereits in der Tabelle '%2'.",
     u"El campo '%1' ya existe en la tabla '%2'."},
    {u"There is no field '%1' in the table '%2'.", u"Es gibt kein Feld '%1' in der Tabelle '%2'.",
     u"No existe el campo '%1' en la tabla '%2'."},
    {u"The field of the table '%1' needs a name.",
     u"Das Feld der Tabelle '%1' braucht einen Namen.",
     u"El campo de la tabla '%1' necesita un nombre."},
    {u"The field name '%1' is longer than %2 characters.",
     u"Der Feldname '%1' ist länger als %2 Zeichen.",
     u"El nombre de campo '%1' tiene más de %2 caracteres."},
    {u"The field '%1' has the unknown type %2.", u"Das Feld '%1' hat den unbekannten Typ %2.",
     u"El campo '%1' tiene el tipo desconocido %2."},
    {u"The size of the field '%1' must lie between 1 and %2.",
     u"Die Größe des Felds '%1' muss zwischen 1 und %2 liegen.",
     u"El tamaño del campo '%1' debe estar entre 1 y %2."},
    {u"The default value of the field '%1' is longer than the field (%2).",
     u"Der Vorgabewert des Felds '%1' ist länger als das Feld (%2).",
     u"El valor por defecto del campo '%1' es más largo que el campo (%2)."},
    {u"The default value '%2' of the field '%1' is not a number.",
     u"Der Vorgabewert '%2' des Felds '%1' ist keine Zahl.",
     u"El valor por defecto '%2' del campo '%1' no es un número."},
    {u"The default value '%2' of the field '%1' is not a date. Write YYYYMMDD or GETDATE().",
     u"Der Vorgabewert '%2' des Felds '%1' ist kein Datum. Schreiben Sie YYYYMMDD oder GETDATE().",
     u"El valor por defecto '%2' del campo '%1' no es una fecha. Escriba YYYYMMDD o GETDATE()."},
    {u"The default value '%2' of the field '%1' is not a time. Write HHMM.",
     u"Der Vorgabewert '%2' des Felds '%1' ist keine Uhrzeit. Schreiben Sie HHMM.",
     u"El valor por defecto '%2' del campo '%1' no es una hora. Escriba HHMM."},
    {u"The mandatory field '%1' needs a default value, since the table '%2' has rows.",
     u"Das Pflichtfeld '%1' braucht einen Vorgabewert, weil die Tabelle '%2' Zeilen hat.",
     u"El campo obligatorio '%1' necesita un valor por defecto, porque la tabla '%2' tiene filas."},
    {u"The field '%1' has the valid value '%2' twice.",
     u"Das Feld '%1' hat den gültigen Wert '%2' zweimal.",
     u"El campo '%1' tiene dos veces el valor válido '%2'."},
    {u"The valid value '%2' does not fit into the field '%1'.",
     u"Der gültige Wert '%2' passt nicht in das Feld '%1'.",
     u"El valor válido '%2' no cabe en el campo '%1'."},
    {u"Set a valid value with PutValue before Add.",
     u"Setzen Sie mit PutValue einen gültigen Wert, bevor Sie Add aufrufen.",
     u"Indique un valor válido con PutValue antes de Add."},
    {u"No object is loaded. Call GetByKey first.",
     u"Es ist kein Objekt geladen. Rufen Sie zuerst GetByKey auf.",
     u"No hay ningún objeto cargado. Llame primero a GetByKey."},
    {u"The name and the type of the field '%1' cannot be changed.",
     u"Name und Typ des Felds '%1' können nicht geändert werden.",
     u"El nombre y el tipo del campo '%1' no se pueden cambiar."},
    {u"The field '%1' cannot become smaller than its present size %2.",
     u"Das Feld '%1' kann nicht kleiner werden als seine jetzige Größe %2.",
     u"El campo '%1' no puede ser menor que su tamaño actual %2."},
    {u"The key '%1' exists already in the table '%2'.",
     u"Der Schlüssel '%1' existiert bereits in der Tabelle '%2'.",
     u"La clave '%1' ya existe en la tabla '%2'."},
    {u"There is no key '%1' in the table '%2'.",
     u"Es gibt keinen Schlüssel '%1' in der Tabelle '%2'.",
     u"No existe la clave '%1' en la tabla '%2'."},
    {u"The key of the table '%1' needs a name.",
     u"Der Schlüssel der Tabelle '%1' braucht einen Namen.",
     u"La clave de la tabla '%1' necesita un nombre."},
    {u"The key name '%1' is longer than %2 characters.",
     u"Der Schlüsselname '%1' ist länger als %2 Zeichen.",
     u"El nombre de clave '%1' tiene más de %2 caracteres."},
    {u"The key '%1' of the table '%2' needs at least one column.",
     u"Der Schlüssel '%1' der Tabelle '%2' braucht mindestens eine Spalte.",
     u"La clave '%1' de la tabla '%2' necesita al menos una columna."},
    {u"There is no column '%1' in the table '%2' for the key.",
     u"Für den Schlüssel fehlt die Spalte '%1' in der Tabelle '%2'.",
     u"No existe la columna '%1' en la tabla '%2' para la clave."},
    {u"The key '%1' names the column '%2' twice.",
     u"Der Schlüssel '%1' nennt die Spalte '%2' zweimal.",
     u"La clave '%1' nombra dos veces la columna '%2'."},
    {u"Set a column with PutColumnAlias before Add.",
     u"Setzen Sie mit PutColumnAlias eine Spalte, bevor Sie Add aufrufen.",
     u"Indique una columna con PutColumnAlias antes de Add."},
    {u"The table '%2' has rows that are equal in the columns of the unique key '%1'.",
     u"Die Tabelle '%2' hat Zeilen, die in den Spalten des eindeutigen Schlüssels '%1' gleich "
     u"sind.",
     u"La tabla '%2' tiene filas iguales en las columnas de la clave única '%1'."},
    {u"'%1' is not a date of the company's date form %2.",
     u"'%1' ist kein Datum der Datumsform %2 der Firma.",
     u"'%1' no es una fecha del formato %2 de la sociedad."},
    {u"The amount is not a number.", u"Der Betrag ist keine Zahl.", u"El importe no es un número."},
    {u"There is no rate for the currency '%1' on %2.",
     u"Für die Währung '%1' gibt es keinen Kurs am %2.",
     u"No hay tipo de cambio para la moneda '%1' el %2."},
    {u"There is no data interface with the number %1.",
     u"Es gibt keine Datenschnittstelle mit der Nummer %1.",
     u"No existe ninguna interfaz de datos con el número %1."},
}};

std::u16string_view pattern(Text text, HvLanguages language) {
  const Row& row = kRows[static_cast<std::size_t>(text)];
  std::u16string_view found;
  if (language == ln_German) found = row.german;
  if (language == ln_Spanish || language == ln_Spanish_Ar || language == ln_Spanish_La ||
      language == ln_Spanish_Pa) {
    found = row.spanish;
  }
  return found.empty() ? row.english : found;
}

std::vector<std::u16string> wide(std::string_view first, std::string_view second) {
  return {toUtf16(first), toUtf16(second)};
}

}  // namespace

std::u16string sentence(Text text, const std::vector<std::u16string>& arguments,
                        HvLanguages language) {
  std::u16string result;
  std::u16string_view rest = pattern(text, language);
  while (!rest.empty()) {
    const bool place = rest.size() > 1 && rest[0] == u'%' && (rest[1] == u'1' || rest[1] == u'2');
    if (place) {
      const std::size_t index = static_cast<std::size_t>(rest[1] - u'1');
      if (index < arguments.size()) result += arguments[index];
    } else {
      result += rest.front();
    }
    rest.remove_prefix(place ? 2 : 1);
  }
  return result;
}

CompanyError::CompanyError(long code, Text text, std::vector<std::u16string> arguments)
    : std::runtime_error(toUtf8(sentence(text, arguments, ln_English))),
      code_(code),
      text_(text),
      arguments_(std::move(arguments)) {}

CompanyError::CompanyError(long code, Text text, std::string_view first, std::string_view second)
    : CompanyError(code, text, wide(first, second)) {}

}  // namespace qx::desk

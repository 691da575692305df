#ifndef DOCUMENTTEMPLATE_H
#define DOCUMENTTEMPLATE_H

#include <QJsonObject>
#include <QString>

/// The rules of a document's template: HTML in which `{{KEY}}` stands for a parameter of the print job.
namespace DocumentTemplate {

/// Whether a template can have this name: letters, digits, '_' and '-'. A name comes from a job and becomes a file name.
bool isName(const QString &name);

/// The template with its parameters in place. A parameter is plain text and appears literally, whatever stands in it;
/// only in KIDSLIST an `&nbsp;` stays the blank that it is in HTML. A key that the job does not have leaves nothing.
QString filled(const QString &html, const QJsonObject &params);

} // namespace DocumentTemplate

#endif // DOCUMENTTEMPLATE_H

' What the VBScript tests share; run.sh puts it in front of each. The script host has no include and ends without a word,
' with exit code 0, when an error is not caught: a test that does not reach Finish has failed.
Option Explicit

' Error numbers, as the script host translates the control's HRESULTs.
Const NoError = 0
Const Overflow = 6               ' DISP_E_OVERFLOW
Const TypeMismatch = 13          ' DISP_E_TYPEMISMATCH
Const SetNotSupported = 383      ' CTL_E_SETNOTSUPPORTED
Const NoSuchMember = 438         ' DISP_E_UNKNOWNNAME
Const WrongArgumentCount = 450   ' DISP_E_BADPARAMCOUNT

Dim checks: checks = 0
Dim failures: failures = 0

Function Show(value)
    If IsNull(value) Then
        Show = "Null"
    ElseIf IsEmpty(value) Then
        Show = "Empty"
    ElseIf IsObject(value) Or IsArray(value) Then
        Show = TypeName(value)
    ElseIf Len(value) > 80 Then
        Show = Len(value) & " characters"
    Else
        Show = TypeName(value) & " " & CStr(value)
    End If
End Function

Sub Check(what, holds)
    checks = checks + 1
    If Not holds Then
        failures = failures + 1
        WScript.Echo "FAIL " & what
    End If
End Sub

' Same type and same value.
Sub Equal(what, expected, actual)
    Dim same: same = False
    If VarType(expected) = VarType(actual) Then same = (expected = actual)
    Check what & ": " & Show(actual) & " instead of " & Show(expected), same
End Sub

' For the statement that ran last under On Error Resume Next.
Sub Ended(what, expected)
    Dim number: number = Err.Number
    Err.Clear
    Equal what & ", error", CLng(expected), CLng(number)
End Sub

Function Create()
    Set Create = CreateObject("NORIXSDK.NorixSDKCtrl.1")
End Function

' The number of checks is told, because On Error Resume Next also swallows an error inside a check.
Sub Finish(expectedChecks)
    Equal "number of checks", expectedChecks, checks
    WScript.Echo "DONE " & checks & " checks, " & failures & " failures"
    If failures > 0 Then WScript.Quit 1
    WScript.Quit 0
End Sub
